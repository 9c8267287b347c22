include(${CMAKE_CURRENT_LIST_DIR}/common.cmake)

set(ENV{PKG_CONFIG_PATH} ${PREFIX}/${LIBDIR}/pkgconfig)
run(pkg-config --cflags --libs vfile)
separate_arguments(flags UNIX_COMMAND "${output}")

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
run(${CXX} -std=c++20 ${CMAKE_CURRENT_LIST_DIR}/consumer.cpp -o ${WORK}/consumer ${flags})
set(ENV{LD_LIBRARY_PATH} ${PREFIX}/${LIBDIR})
run(${WORK}/consumer)
