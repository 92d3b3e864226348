# kvedit_add_library(NAME SOURCES ... [PUBLIC_LIBS ...] [PRIVATE_LIBS ...])
# One static (position-independent) library per source folder; the folder's parent (src/) is the
# include root, so headers are included as "model/StringEntry.h".
function(kvedit_add_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC_LIBS;PRIVATE_LIBS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>
    $<INSTALL_INTERFACE:include/kvedit>)
  target_link_libraries(${name} PUBLIC ${ARG_PUBLIC_LIBS} PRIVATE ${ARG_PRIVATE_LIBS})
endfunction()

# kvedit_add_qtest(NAME SOURCES ... LIBS ...)
# One Qt Test executable, registered with CTest and run on the offscreen platform.
function(kvedit_add_qtest name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE Qt6::Test ${ARG_LIBS})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/tests/support)
  add_test(NAME ${name} COMMAND ${name})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  set_tests_properties(${name} PROPERTIES
    TIMEOUT ${ARG_TIMEOUT}
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;KVEDIT_SOURCE_DIR=${PROJECT_SOURCE_DIR};KVEDIT_SHARED_DIR=${PROJECT_SOURCE_DIR}/../shared")
endfunction()
