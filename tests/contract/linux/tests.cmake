# The suite held against the Linux platform, and that platform's own promises. They all run on a device.
set_target_properties(contract_suite PROPERTIES CROSSCOMPILING_EMULATOR "${ON_SCRATCH_DEVICE}")
gtest_discover_tests(contract_suite TEST_PREFIX contract. DISCOVERY_MODE PRE_TEST
  PROPERTIES TIMEOUT 60)

# A platform with a fault in each library: the functions in the program go before the libraries' own.
add_executable(contract_suite_on_faults linux/faulty_functions.cpp)
quire_target(contract_suite_on_faults)
set_target_properties(contract_suite_on_faults PROPERTIES CXX_VISIBILITY_PRESET default)
target_link_libraries(contract_suite_on_faults PRIVATE contract_promises tabulet saltmoor_utilities
                      saltmoor_opds)
add_test(NAME contract.suite_tells_faults
  COMMAND ${ON_SCRATCH_DEVICE} ${CMAKE_CURRENT_SOURCE_DIR}/linux/suite_tells_faults_test
          $<TARGET_FILE:contract_suite_on_faults>)
set_tests_properties(contract.suite_tells_faults PROPERTIES TIMEOUT 180)

# What it is told to do on the command line, it does through libtabulet.so: for the tests of what a
# process reads from its environment once.
add_executable(tabulet_probe linux/tabulet_probe.cpp)
quire_target(tabulet_probe)
target_link_libraries(tabulet_probe PRIVATE tabulet)

add_executable(linux_platform_tests
  linux/bitmaps_test.cpp
  linux/book_store_auth_configs_test.cpp
  linux/download_test.cpp
  linux/log_test.cpp
  linux/messages_test.cpp
  linux/run_probe.cpp
  linux/saving_test.cpp
  linux/secrets_test.cpp
  linux/settings_test.cpp
  linux/tasks_test.cpp
  linux/terminal_test.cpp
  linux/transfer_test.cpp)
quire_target(linux_platform_tests)
target_link_libraries(linux_platform_tests PRIVATE
  tabulet saltmoor_utilities saltmoor_opds platform_download platform_transfer contract_support)
target_compile_definitions(linux_platform_tests PRIVATE PROBE="$<TARGET_FILE:tabulet_probe>")
add_dependencies(linux_platform_tests tabulet_probe)
# It stands in for functions of the C library.
set_target_properties(linux_platform_tests PROPERTIES
  ENABLE_EXPORTS ON CXX_VISIBILITY_PRESET default CROSSCOMPILING_EMULATOR "${ON_SCRATCH_DEVICE}")
gtest_discover_tests(linux_platform_tests TEST_PREFIX platform. DISCOVERY_MODE PRE_TEST
  PROPERTIES TIMEOUT 60)
