# Installs libvkcommon into a folder of the test's own, builds examples/helpers against that tree
# and runs both programs. Called with BUILD (this project's build folder), SOURCE (its root), WORK,
# COMPILER, FLAGS, GENERATOR and, when cross-compiling, TOOLCHAIN and EMULATOR.
file(REMOVE_RECURSE ${WORK})
set(ENV{DESTDIR} "")

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output
        ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN} ended with ${result}:\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD} --component vkcommon --prefix ${WORK}/installed)
run(${CMAKE_COMMAND} -S ${SOURCE}/examples/helpers -B ${WORK}/build -G ${GENERATOR}
    -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}
    -DCMAKE_PREFIX_PATH=${WORK}/installed -DCMAKE_CXX_COMPILER=${COMPILER}
    "-DCMAKE_CXX_FLAGS=${FLAGS} -Wall -Wextra -Wpedantic -Werror")
run(${CMAKE_COMMAND} --build ${WORK}/build)

set(expected "Modbus RTU request: 01 03 00 00 00 01 84 0A
Modbus ASCII request: :010300000001FB
Answer with 8 info characters, first value 220.0
Answer refused with code 7
")
foreach(PROGRAM helpers helpers_static)
    run(${EMULATOR} ${WORK}/build/${PROGRAM})
    if(NOT output STREQUAL expected)
        message(FATAL_ERROR "${PROGRAM} printed:\n${output}\ninstead of:\n${expected}")
    endif()
endforeach()
