# In the other kind of library than the one under test, so that every run sees both.
include(${CMAKE_CURRENT_LIST_DIR}/common.cmake)
if(SHARED)
    set(shared OFF)
else()
    set(shared ON)
endif()
build_and_run(${CMAKE_CURRENT_LIST_DIR}/add_subdirectory
    -DVFILE_ROOT=${SOURCE_ROOT} -DBUILD_SHARED_LIBS=${shared})
