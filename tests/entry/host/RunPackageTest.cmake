# Installs the build into a scratch prefix, builds the host against the package, runs it.
# Arguments: BUILD_DIR, HOST_SOURCE, WORK_DIR.
file(REMOVE_RECURSE "${WORK_DIR}")
execute_process(COMMAND ${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${WORK_DIR}/prefix" --component Unspecified
                RESULT_VARIABLE rc OUTPUT_QUIET)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "install failed: ${rc}")
endif()
file(GLOB_RECURSE libs "${WORK_DIR}/prefix/*/libkvedit.so")
list(GET libs 0 lib)
execute_process(COMMAND ${CMAKE_COMMAND} -S "${HOST_SOURCE}" -B "${WORK_DIR}/host" -G Ninja
                        "-DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix" "-DCMAKE_CXX_FLAGS=-DKVEDIT_LIBRARY_PATH=\\\"${lib}\\\""
                RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "configuring the host against the installed package failed")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build "${WORK_DIR}/host" RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "building the host failed")
endif()
get_filename_component(libdir "${lib}" DIRECTORY)
set(ENV{LD_LIBRARY_PATH} "${libdir}")
execute_process(COMMAND "${WORK_DIR}/host/host" RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
message("${out}${err}")
if(NOT rc EQUAL 0 OR NOT out MATCHES "host ok")
  message(FATAL_ERROR "the host failed: ${rc}")
endif()
