#!/usr/bin/env bash
#
# What Windows, those who load it and a user of the release find in a library's file: the format, its
# exports, nothing to install beside it, a version, and its symbols in a file of their own.
#
#   library_file.sh LIBRARY VERSION stripped|whole OBJDUMP WINDRES DEFINITION IMPORT...
#
# The exports are those of the module definition file, and no others; the imports are the DLLs that it
# may need beside those that any program needs.
set -euo pipefail

readonly library=$1 version=$2 symbols=$3 objdump=$4 windres=$5 definition=$6

# Windows' own DLLs that the library may need. A name missing here is either a run-time library that
# a user would have to install, or a part of Windows whose use is to be decided on, and then added.
readonly allowed_imports=(
    advapi32.dll  # the registry
    kernel32.dll
    msvcrt.dll    # the C run-time library that is part of Windows
    ws2_32.dll    # sockets
    "${@:7}"
)

failures=0
fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

expect_equal() {
    [[ $2 == "$3" ]] || fail "$1 is '$2', expected '$3'"
}

headers=$("$objdump" --private-headers "$library")
sections=$("$objdump" --section-headers "$library")

check_format() {
    grep -q 'file format pei-x86-64' <<<"$headers" || fail "not an x86-64 program file"
    grep -Eq '^Magic[[:space:]]+020b[[:space:]]+\(PE32\+\)' <<<"$headers" || fail "not PE32+"
    grep -Eq '^[[:space:]]+DLL$' <<<"$headers" || fail "not a DLL"
    local protection
    for protection in HIGH_ENTROPY_VA DYNAMIC_BASE NX_COMPAT; do
        grep -q "^[[:space:]]*$protection\$" <<<"$headers" || fail "no $protection"
    done
}

check_exports() {
    local names addresses expected
    names=$(sed -n '/^\[Ordinal\/Name Pointer\] Table/,/^$/s/^[[:space:]]*\[ *[0-9]*\] *//p' <<<"$headers")
    expected=$(sed '1,/^EXPORTS/d; s/^[[:space:]]*//; s/[[:space:]]*$//; /^$/d' "$definition" | LC_ALL=C sort)
    [[ -n $expected ]] || fail "$definition names no exports"
    expect_equal "the list of exported names" "$(LC_ALL=C sort <<<"$names")" "$expected"
    # An export without a name has only an address.
    addresses=$(grep -Ec '^[[:space:]]*\[ *[0-9]+\] \+base\[' <<<"$headers" || true)
    expect_equal "the number of exported addresses" "$addresses" "$(wc -l <<<"$expected")"
}

check_imports() {
    local imports import
    imports=$(sed -n 's/^[[:space:]]*DLL Name: //p' <<<"$headers")
    [[ -n $imports ]] || fail "no imports found"
    for import in $imports; do
        [[ " ${allowed_imports[*]} " == *" ${import,,} "* ]] || fail "needs $import"
    done
}

check_version() {
    local resource key value
    if ! resource=$("$windres" --input-format=coff --output-format=rc "$library"); then
        fail "no resources"
        return
    fi
    grep -q ' VERSIONINFO' <<<"$resource" || { fail "no version resource"; return; }

    local numbers="${version//./, }, 0"
    expect_equal FILEVERSION "$(sed -n 's/^ FILEVERSION //p' <<<"$resource")" "$numbers"
    expect_equal PRODUCTVERSION "$(sed -n 's/^ PRODUCTVERSION //p' <<<"$resource")" "$numbers"

    version_text() {
        sed -n "s/^ *VALUE \"$1\", \"\(.*\)\"\$/\1/p" <<<"$resource"
    }
    for key in CompanyName FileDescription InternalName LegalCopyright ProductName; do
        value=$(version_text "$key")
        [[ $value =~ [^[:space:]] ]] || fail "$key is empty"
    done
    expect_equal OriginalFilename "$(version_text OriginalFilename)" "$(basename "$library")"
    for key in FileVersion ProductVersion; do
        value=$(version_text "$key")
        [[ $value == "$version" || $value == "$version".* ]] ||
            fail "$key is '$value', expected '$version'"
    done
}

# In a release the library itself holds none, and the file beside it is the one it names.
check_symbols() {
    [[ $symbols == stripped ]] || return 0
    local debug=$library.debug link
    ! grep -q '\.debug_info' <<<"$sections" || fail "the library holds debugging information"
    "$objdump" --syms "$library" | grep -q '^no symbols$' || fail "the library holds symbols"
    link=$("$objdump" --dwarf=links "$library" 2>/dev/null |
        sed -n 's/^[[:space:]]*Separate debug info file: //p')
    expect_equal "the link to the symbols" "$link" "$(basename "$debug")"
    if [[ -f $debug ]]; then
        "$objdump" --section-headers "$debug" | grep -q '\.debug_info' ||
            fail "$debug holds no debugging information"
    else
        fail "there is no $debug"
    fi
}

check_format
check_exports
check_imports
check_version
check_symbols

[[ $failures -eq 0 ]] || exit 1
echo "$(basename "$library") $version is as it should be"
