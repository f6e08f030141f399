# ksp_split_symbols(<target>)
#
# Moves the symbols of a program or library into a file of its own beside it, `<file>.debug`, and
# leaves a link to it, by which a debugger finds it. Only a release is split: the other builds are
# for working on the code, and MSVC keeps symbols apart by itself.
function(ksp_split_symbols target)
    if(MSVC OR NOT CMAKE_BUILD_TYPE STREQUAL "Release")
        return()
    endif()
    # The link holds a bare file name, so it is made in the directory of the file. preserve-dates:
    # the header keeps the linker's time stamp, which is none.
    add_custom_command(TARGET ${target} POST_BUILD
        WORKING_DIRECTORY "$<TARGET_FILE_DIR:${target}>"
        COMMAND "${CMAKE_OBJCOPY}" --only-keep-debug --preserve-dates
                "$<TARGET_FILE_NAME:${target}>" "$<TARGET_FILE_NAME:${target}>.debug"
        COMMAND "${CMAKE_STRIP}" --preserve-dates "$<TARGET_FILE_NAME:${target}>"
        COMMAND "${CMAKE_OBJCOPY}" --preserve-dates
                "--add-gnu-debuglink=$<TARGET_FILE_NAME:${target}>.debug"
                "$<TARGET_FILE_NAME:${target}>"
        VERBATIM)
    set_property(TARGET ${target} APPEND PROPERTY
        ADDITIONAL_CLEAN_FILES "$<TARGET_FILE:${target}>.debug")
endfunction()
