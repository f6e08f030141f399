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

# The coverage data names its sources by their full path; nothing else shows where it was built.
if(NOT MSVC AND NOT CMAKE_BUILD_TYPE STREQUAL "Coverage")
    target_compile_options(ksp_options INTERFACE
        "$<$<COMPILE_LANGUAGE:CXX>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=>")
endif()

# Threads count at the same time, hence the atomic counters.
if(CMAKE_BUILD_TYPE STREQUAL "Coverage")
    target_compile_options(ksp_options INTERFACE
        "$<$<COMPILE_LANGUAGE:CXX>:--coverage;-fprofile-update=atomic>")
    target_link_options(ksp_options INTERFACE --coverage)
endif()

# mingw-w64 has no library that reports what was found, so a finding ends the program.
if(CMAKE_BUILD_TYPE STREQUAL "Ubsan")
    target_compile_options(ksp_options INTERFACE
        "$<$<COMPILE_LANGUAGE:CXX>:-fsanitize=undefined;-fsanitize-undefined-trap-on-error>")
endif()
