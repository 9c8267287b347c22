# For the scripts beside this one: a step that fails ends the test with what it said.
function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output
        OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN}: ${result}\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

# The consumer in its own build, as a user's project.
function(build_and_run source)
    file(REMOVE_RECURSE ${WORK})
    run(${CMAKE_COMMAND} -G ${GENERATOR} -S ${source} -B ${WORK} -DCMAKE_CXX_COMPILER=${CXX}
        -DCMAKE_BUILD_TYPE=Release ${ARGN})
    run(${CMAKE_COMMAND} --build ${WORK})
    run(${WORK}/consumer)
endfunction()
