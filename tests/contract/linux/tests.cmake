# The suite on the Linux platform, and tests of what that platform does beyond the contract. All run on a device.
set_target_properties(contract_suite PROPERTIES CROSSCOMPILING_EMULATOR "${ON_SCRATCH_DEVICE}")
gtest_discover_tests(contract_suite TEST_PREFIX contract. DISCOVERY_MODE PRE_TEST
  PROPERTIES TIMEOUT 60)

# What the suite reports on a platform with faults: functions of the program precede those of the libraries.
add_executable(contract_suite_on_faults linux/faulty_platform.cpp)
quire_target(contract_suite_on_faults)
set_target_properties(contract_suite_on_faults PROPERTIES CXX_VISIBILITY_PRESET default)
target_link_libraries(contract_suite_on_faults PRIVATE contract_tests tabulet saltmoor_utilities saltmoor_opds)
add_test(NAME contract.report
  COMMAND sh -c "\"$@\"; echo exit code $?" sh ${ON_SCRATCH_DEVICE} $<TARGET_FILE:contract_suite_on_faults>)
set_tests_properties(contract.report PROPERTIES TIMEOUT 180 PASS_REGULAR_EXPRESSION
  "FAILED  Tabulet.Deletes.*signal: Aborted\nFAILED  Strings.*[5-9][0-9] tests passed, 2 failed\nexit code 1")

# Standalone, as for a port.
if(NOT QUIRE_SANITIZE)
  add_test(NAME contract.suite_alone
    COMMAND ${CMAKE_CTEST_COMMAND}
      --build-and-test ${CMAKE_CURRENT_SOURCE_DIR} ${CMAKE_BINARY_DIR}/contract_alone
      --build-generator ${CMAKE_GENERATOR} --build-noclean
      --build-options -DQUIRE_DEVICE_LIBRARIES=$<TARGET_FILE_DIR:tabulet>
      --test-command ${ON_SCRATCH_DEVICE} ${CMAKE_BINARY_DIR}/contract_alone/contract_suite
                     --gtest_filter=Signature.*:Strings.*)
  set_tests_properties(contract.suite_alone PROPERTIES TIMEOUT 300)
endif()

# A program of its own, whose main process does not use the library.
add_executable(linux_environment_tests linux/environment_test.cpp)
quire_target(linux_environment_tests)
target_link_libraries(linux_environment_tests PRIVATE tabulet contract_support)
set_target_properties(linux_environment_tests PROPERTIES CROSSCOMPILING_EMULATOR "${ON_SCRATCH_DEVICE}")
gtest_discover_tests(linux_environment_tests TEST_PREFIX platform. DISCOVERY_MODE PRE_TEST
  PROPERTIES TIMEOUT 60)

add_executable(linux_platform_tests
  linux/browser_process_test.cpp
  linux/tabulet_test.cpp
  linux/download_test.cpp
  linux/config_file_test.cpp
  linux/secrets_test.cpp
  linux/task_server_test.cpp
  linux/transfer_test.cpp)
quire_target(linux_platform_tests)
target_link_libraries(linux_platform_tests PRIVATE
  tabulet saltmoor_utilities saltmoor_opds platform_download platform_transfer contract_support)
# It replaces functions of the C library.
set_target_properties(linux_platform_tests PROPERTIES
  ENABLE_EXPORTS ON CXX_VISIBILITY_PRESET default CROSSCOMPILING_EMULATOR "${ON_SCRATCH_DEVICE}")
gtest_discover_tests(linux_platform_tests TEST_PREFIX platform. DISCOVERY_MODE PRE_TEST
  PROPERTIES TIMEOUT 60)
