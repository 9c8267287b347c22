# In the other kind of library than the one under test, so that every run sees both.
include(${CMAKE_CURRENT_LIST_DIR}/common.cmake)
if(SHARED)
    set(shared OFF)
else()
    set(shared ON)
endif()
# All of the library is compiled again for this: each floor as one source, which a user may ask for, too.
build_and_run(${CMAKE_CURRENT_LIST_DIR}/add_subdirectory
    -DVFILE_ROOT=${SOURCE_ROOT} -DBUILD_SHARED_LIBS=${shared}
    -DCMAKE_BUILD_TYPE=Debug -DCMAKE_UNITY_BUILD=ON -DCMAKE_UNITY_BUILD_BATCH_SIZE=0)
