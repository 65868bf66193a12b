# Run with -P: installs the build into an empty folder and builds and runs a project against it.
function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BINARY_DIR} --prefix ${WORK_DIR}/prefix)
run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/build -G Ninja
    -D CMAKE_CXX_COMPILER=${COMPILER}
    -D CMAKE_CXX_FLAGS=${FLAGS}
    -D CMAKE_PREFIX_PATH=${WORK_DIR}/prefix
    -D CppMicroServices_DIR=${FRAMEWORK_DIR})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run(${CTEST} --test-dir ${WORK_DIR}/build --output-on-failure --no-tests=error)
