# ksp_warnings: every warning that is worth having, and each one fatal.
#
# Left out: -Wnull-dereference, which reports the standard library's own streams once they are
# inlined; -Wuseless-cast, since a cast between two types that are one here may be needed with another
# compiler; -Wzero-as-null-pointer-constant, which reports SRWLOCK_INIT as a member's initialiser.

add_library(ksp_warnings INTERFACE)

if(MSVC)
    set(ksp_warning_flags
        /W4
        /WX
        /external:anglebrackets
        /external:W0)
else()
    set(ksp_warning_flags
        -Werror
        -Wall
        -Wextra
        -Wpedantic
        -Walloca
        -Wcast-align
        -Wcast-qual
        -Wconversion
        -Wctor-dtor-privacy
        -Wdeprecated-copy-dtor
        -Wdouble-promotion
        -Wduplicated-branches
        -Wduplicated-cond
        -Wextra-semi
        -Wformat=2
        -Wformat-overflow=2
        -Wformat-signedness
        -Wformat-truncation=2
        -Wimplicit-fallthrough=5
        -Wlogical-op
        -Wmissing-declarations
        -Wnon-virtual-dtor
        -Wold-style-cast
        -Woverloaded-virtual
        -Wredundant-decls
        -Wshadow
        -Wsign-conversion
        -Wstrict-null-sentinel
        -Wsuggest-override
        -Wundef
        -Wunused
        -Wunused-macros
        -Wvla)
endif()

target_compile_options(ksp_warnings INTERFACE
    "$<$<COMPILE_LANGUAGE:CXX>:${ksp_warning_flags}>")
