# What every target of this repository is compiled and linked with. Each of them links ksp_options;
# code that is not ours (GoogleTest) does not.

include(warnings)

add_library(ksp_options INTERFACE)
target_link_libraries(ksp_options INTERFACE ksp_warnings)
target_include_directories(ksp_options INTERFACE "${PROJECT_SOURCE_DIR}")
target_compile_definitions(ksp_options INTERFACE
    UNICODE
    _UNICODE
    WIN32_LEAN_AND_MEAN
    NOMINMAX
    _WIN32_WINNT=0x0A00
    NTDDI_VERSION=0x0A000000)

if(MSVC)
    # The formats and addresses that are meant are those of the older functions.
    target_compile_definitions(ksp_options INTERFACE
        _CRT_SECURE_NO_WARNINGS
        _WINSOCK_DEPRECATED_NO_WARNINGS)
    target_compile_options(ksp_options INTERFACE
        "$<$<COMPILE_LANGUAGE:CXX>:/permissive-;/utf-8;/EHsc;/Zc:__cplusplus>")
else()
    # -static: a product needs no DLL beside Windows' own.
    # no-insert-timestamp: the same sources give the same file.
    target_link_options(ksp_options INTERFACE -static -Wl,--no-insert-timestamp)
endif()

# What is counted and watched is the product: the libraries that go into it, whose programs lie in bin.
# The tests are then built as for debugging, which takes half the time.
set(ksp_is_product
    "$<STREQUAL:$<TARGET_PROPERTY:RUNTIME_OUTPUT_DIRECTORY>,${PROJECT_BINARY_DIR}/bin>")

# The coverage data names its sources by their full path; nothing else shows where it was built.
if(NOT MSVC)
    if(CMAKE_BUILD_TYPE STREQUAL "Coverage")
        target_compile_options(ksp_options INTERFACE
            "$<$<AND:$<COMPILE_LANGUAGE:CXX>,$<NOT:${ksp_is_product}>>:-D_GLIBCXX_ASSERTIONS;-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=>")
    else()
        target_compile_options(ksp_options INTERFACE
            "$<$<COMPILE_LANGUAGE:CXX>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=>")
    endif()
endif()

# Threads count at the same time, hence the atomic counters.
if(CMAKE_BUILD_TYPE STREQUAL "Coverage")
    target_compile_options(ksp_options INTERFACE
        "$<$<AND:$<COMPILE_LANGUAGE:CXX>,${ksp_is_product}>:--coverage;-fprofile-update=atomic>")
    target_link_options(ksp_options INTERFACE --coverage)
endif()

# mingw-w64 has no library that reports what was found, so a finding ends the program.
if(CMAKE_BUILD_TYPE STREQUAL "Ubsan")
    target_compile_options(ksp_options INTERFACE
        "$<$<AND:$<COMPILE_LANGUAGE:CXX>,${ksp_is_product}>:-fsanitize=undefined;-fsanitize-undefined-trap-on-error>")
endif()
