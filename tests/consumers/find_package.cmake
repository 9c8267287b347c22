include(${CMAKE_CURRENT_LIST_DIR}/common.cmake)
build_and_run(${CMAKE_CURRENT_LIST_DIR}/find_package -DCMAKE_PREFIX_PATH=${PREFIX})
