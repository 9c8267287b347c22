# A floor is one static library whose headers only higher floors can see: each floor has an include directory of
# its own that holds nothing but a link to its folder, so that an include against the order fails to compile.

set(VFILE_FLOOR_LINKS ${PROJECT_BINARY_DIR}/floors)

function(vfile_common_options target)
    target_compile_features(${target} PUBLIC cxx_std_20)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON POSITION_INDEPENDENT_CODE ON)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
    target_compile_options(${target} PRIVATE -fno-plt)  # memchr and memcpy are called for every line of a file
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_compile_options(${target} PRIVATE -fno-gnu-unique)  # a unique symbol would forbid unloading
    endif()
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        target_compile_options(${target} PRIVATE -Wno-restrict)  # sees overlaps in "text" + std::string at -O2
    endif()
    if(VFILE_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()

# vfile_floor(NAME BELOW SOURCES...): BELOW is the floor directly under it, or NONE.
function(vfile_floor name below)
    set(target vfile_${name})
    add_library(${target} STATIC ${ARGN})
    vfile_common_options(${target})
    file(MAKE_DIRECTORY ${VFILE_FLOOR_LINKS}/${name})
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/src/${name} ${VFILE_FLOOR_LINKS}/${name}/${name} SYMBOLIC)
    target_include_directories(${target} PUBLIC
        ${VFILE_FLOOR_LINKS}/${name} $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)
    target_compile_definitions(${target} PRIVATE VFILE_BUILDING)
    if(VFILE_CHECKS)
        target_compile_definitions(${target} PUBLIC VFILE_CHECKS=1)
    endif()
    if(NOT below STREQUAL "NONE")
        target_link_libraries(${target} PUBLIC vfile_${below})
    endif()
endfunction()
