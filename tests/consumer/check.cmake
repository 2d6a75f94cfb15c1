# Installs the built framework into a scratch prefix, then builds and runs a
# separate project against that prefix alone, through CMake's package and
# through pkg-config.
#
# Takes SOURCE_DIR, BUILD_DIR, WORK_DIR and CXX; SANITIZE is the library's
# -fsanitize list, empty for none.

foreach(var IN ITEMS SOURCE_DIR BUILD_DIR WORK_DIR CXX)
    if(NOT ${var})
        message(FATAL_ERROR "install_consumer: -D${var}=... is required")
    endif()
endforeach()

set(prefix ${WORK_DIR}/prefix)
set(consumer_build ${WORK_DIR}/build)
# A prefix left by an earlier run could hide a file that no longer installs.
file(REMOVE_RECURSE ${WORK_DIR})

function(run step)
    execute_process(COMMAND ${ARGN}
        RESULT_VARIABLE result
        OUTPUT_VARIABLE output
        ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "install_consumer: ${step} failed (${result}):\n${output}")
    endif()
endfunction()

run("installing ${BUILD_DIR} into ${prefix}"
    ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

set(generator)
find_program(NINJA ninja)
if(NINJA)
    set(generator -G Ninja)
endif()
run("configuring the consumer project"
    ${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/consumer -B ${consumer_build} ${generator}
        -DCMAKE_PREFIX_PATH=${prefix}
        -DCMAKE_CXX_COMPILER=${CXX}
        -DSANITIZE=${SANITIZE})
run("building the consumer project" ${CMAKE_COMMAND} --build ${consumer_build})
# The build tree's rpath points at the prefix's library directory.
run("running the consumer" ${consumer_build}/consumer)
run("running the client library's consumer" ${consumer_build}/client_consumer)
# The examples, resource_store among them, are built and run against an
# install by the examples_installed test.

file(GLOB_RECURSE pc_files ${prefix}/*/sorvane.pc)
if(NOT pc_files)
    message(FATAL_ERROR "install_consumer: no sorvane.pc installed under ${prefix}")
endif()
list(GET pc_files 0 pc_file)
get_filename_component(pc_dir ${pc_file} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_dir})
find_program(PKG_CONFIG pkg-config)
if(NOT PKG_CONFIG)
    message(FATAL_ERROR "install_consumer: pkg-config is not installed")
endif()
run("pkg-config finding sorvane in ${pc_dir}" ${PKG_CONFIG} --exists --print-errors sorvane)
# The paths it hands out must be the prefix's, not the configured install
# prefix, or a relocated install would compile against something else.
execute_process(COMMAND ${PKG_CONFIG} --variable=includedir sorvane
    OUTPUT_VARIABLE includedir OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND ${PKG_CONFIG} --variable=libdir sorvane
    OUTPUT_VARIABLE libdir OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT EXISTS ${includedir}/util/pstring.h)
    message(FATAL_ERROR
        "install_consumer: sorvane.pc gives includedir '${includedir}', which has no util/pstring.h")
endif()
if(NOT EXISTS ${libdir}/libsorvane.so)
    message(FATAL_ERROR
        "install_consumer: sorvane.pc gives libdir '${libdir}', which has no libsorvane.so")
endif()
