# The utilities and the catalogue library. These tests run servers of their own on the loopback.
find_package(OpenSSL REQUIRED)
find_package(ZLIB REQUIRED)

add_library(contract_support STATIC
  support/certificates.cpp support/scripted_server.cpp support/workshop.cpp)
quire_target(contract_support)
target_include_directories(contract_support PUBLIC ${PROJECT_SOURCE_DIR})
target_link_libraries(contract_support PUBLIC OpenSSL::SSL GTest::gtest)

add_executable(utilities_contract_tests
  browser_authorization_test.cpp
  http_request_runner_test.cpp
  texts_and_keys_test.cpp
  linux/transfer_test.cpp)
quire_target(utilities_contract_tests)
target_link_libraries(utilities_contract_tests
  PRIVATE saltmoor_utilities contract_support ZLIB::ZLIB GTest::gtest_main)
# It stands in for functions of the C library.
set_target_properties(utilities_contract_tests PROPERTIES
  ENABLE_EXPORTS ON CXX_VISIBILITY_PRESET default)
gtest_discover_tests(utilities_contract_tests TEST_PREFIX contract. PROPERTIES TIMEOUT 60)

add_executable(opds_contract_tests resource_downloader_test.cpp linux/download_test.cpp)
quire_target(opds_contract_tests)
target_link_libraries(opds_contract_tests
  PRIVATE saltmoor_opds platform_download platform_transfer contract_support GTest::gtest_main)
gtest_discover_tests(opds_contract_tests TEST_PREFIX contract. PROPERTIES TIMEOUT 60)
