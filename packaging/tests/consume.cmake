# Installs the kit of the build BUILD below WORK, then configures, builds and runs a project that
# knows it only by find_package.
file(REMOVE_RECURSE ${WORK})
if(SANITIZE)
  set(flags -fsanitize=${SANITIZE})
endif()
foreach(step
    "--install;${BUILD};--prefix;${WORK}/prefix;--component;kit"
    "-S;${CMAKE_CURRENT_LIST_DIR}/consumer;-B;${WORK}/build;-G;${GENERATOR};-DCMAKE_CXX_COMPILER=${COMPILER};-DCMAKE_CXX_FLAGS=${flags};-DCMAKE_PREFIX_PATH=${WORK}/prefix"
    "--build;${WORK}/build;--target;check")
  execute_process(COMMAND ${CMAKE_COMMAND} ${step} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
