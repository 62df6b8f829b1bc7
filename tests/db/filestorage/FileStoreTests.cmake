# SPDX-License-Identifier: Apache-2.0
oru_add_tests(file-store-tests THREADS
    SOURCES
        ${CMAKE_CURRENT_LIST_DIR}/CardSelectionTest.cpp
        ${CMAKE_CURRENT_LIST_DIR}/FileDbAccessorTest.cpp
        ${CMAKE_CURRENT_LIST_DIR}/GoldenFilesTest.cpp
        ${CMAKE_CURRENT_LIST_DIR}/ManagerOverFileStoreTest.cpp
        ${CMAKE_CURRENT_LIST_DIR}/RecordsBlobTest.cpp
        ${CMAKE_CURRENT_LIST_DIR}/RemovalTest.cpp
        ${CMAKE_CURRENT_LIST_DIR}/StoresAgreeTest.cpp
        ${PROJECT_SOURCE_DIR}/tests/support/StandingClock.cpp
    LIBRARIES authlist-objects)
target_compile_definitions(file-store-tests PRIVATE
    ORU_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data"
    ORU_DOCS="${PROJECT_SOURCE_DIR}/docs")

# A program of its own, because operator new is replaced in it.
oru_add_tests(file-store-memory-tests
    SOURCES
        ${CMAKE_CURRENT_LIST_DIR}/AllocationFailureTest.cpp
        ${CMAKE_CURRENT_LIST_DIR}/DamagedBlobTest.cpp
        ${PROJECT_SOURCE_DIR}/tests/support/AllocationMeter.cpp
    LIBRARIES authlist-objects)
