# ksp_add_test(NAME <name>
#              SOURCES <file>...
#              [LIBRARIES <target>...]
#              [FILTERS <entry>=<filter>...]
#              [TIMEOUT <seconds>]
#              [LABELS <label>...]
#              [RESOURCE_LOCK <resource>...]
#              [ENVIRONMENT <variable>=<value>...])
#
# Builds a GoogleTest program build/<preset>/tests/<name>.exe, which finds the monitor library and
# the stand-in spooler beside it, and registers it with CTest as <name>. Its target is test_<name>.
#
# Starting a Windows process is slow here, so the tests of a program share one process and one CTest
# entry.
#   FILTERS        Sets tests that take long apart, so that they run beside the others: what the
#                  GoogleTest filter chooses becomes an entry of its own, <name>.<entry>, and leaves
#                  the entry <name>. A filter holds no '-' (exclusions are what this function makes).
#   TIMEOUT        When CTest gives an entry up as hanging (default 120).
#   RESOURCE_LOCK  Entries that name the same resource do not run at the same time.
#
# An entry that runs no test at all fails.

set(ksp_tests_dir "${PROJECT_BINARY_DIR}/tests")

function(ksp_add_test)
    cmake_parse_arguments(PARSE_ARGV 0 arg
        "" "NAME;TIMEOUT" "SOURCES;LIBRARIES;FILTERS;LABELS;RESOURCE_LOCK;ENVIRONMENT")
    if(arg_UNPARSED_ARGUMENTS OR NOT arg_NAME OR NOT arg_SOURCES)
        message(FATAL_ERROR "ksp_add_test: wrong arguments: ${ARGN}")
    endif()
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()

    set(target test_${arg_NAME})
    add_executable(${target} ${arg_SOURCES})
    set_target_properties(${target} PROPERTIES
        OUTPUT_NAME ${arg_NAME}
        RUNTIME_OUTPUT_DIRECTORY "${ksp_tests_dir}")
    target_link_libraries(${target} PRIVATE ksp_options ${arg_LIBRARIES} gmock gtest gtest_main)
    add_dependencies(${target} ksp_test_runtime)

    set(entries "")
    set(set_apart "")
    foreach(entry IN LISTS arg_FILTERS)
        if(NOT entry MATCHES "^([A-Za-z0-9_]+)=([^-]+)$")
            message(FATAL_ERROR "ksp_add_test(${arg_NAME}): not <entry>=<filter>: ${entry}")
        endif()
        list(APPEND entries ${arg_NAME}.${CMAKE_MATCH_1})
        list(APPEND set_apart "${CMAKE_MATCH_2}")
        ksp_add_test_entry(${arg_NAME}.${CMAKE_MATCH_1} ${target} "${CMAKE_MATCH_2}")
    endforeach()

    set(all_others "*")
    if(set_apart)
        list(JOIN set_apart ":" set_apart)
        set(all_others "-${set_apart}")
    endif()
    list(APPEND entries ${arg_NAME})
    ksp_add_test_entry(${arg_NAME} ${target} "${all_others}")

    foreach(property IN ITEMS TIMEOUT LABELS RESOURCE_LOCK ENVIRONMENT)
        if(arg_${property})
            set_property(TEST ${entries} PROPERTY ${property} ${arg_${property}})
        endif()
    endforeach()
endfunction()

# One CTest entry: the tests of a program that a GoogleTest filter lets through.
function(ksp_add_test_entry name target filter)
    add_test(NAME ${name}
        COMMAND "${PROJECT_SOURCE_DIR}/cmake/test-run" "$<TARGET_FILE:${target}>"
                "--gtest_filter=${filter}"
        WORKING_DIRECTORY "${ksp_tests_dir}")
endfunction()
