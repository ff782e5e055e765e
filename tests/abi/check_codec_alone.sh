#!/usr/bin/env bash
# A program that uses the codec alone, with and without the three functions that librib imports from the router's platform:
# CLAIM says what is to be seen.
#     check_codec_alone.sh CLAIM COMPILER ROOT FOLDER LIBRIB.SO LIBRIB.A LIBRIB_TLV.SO LIBRIB_STRUTIL.SO
set -euo pipefail

claim=$1 compiler=$2 root=$3 folder=$4 shared=$5 static=$6 platform=("$7" "$8")
program=$folder/codec_alone_$claim
imported=(rib_tlv_strip rib_tlv_handle_delim __strcpy_to_buf)
rm -f "$program"

link() { "$compiler" -std=c99 -Wall -Wextra -I "$root" "$root/tests/abi/codec_alone.c" "$@" -Wl,-rpath,"$(dirname "$shared")" -o "$program"; }
refuse() { printf '%s\n' "$1" "$output" && exit 1; }

case $claim in
links_with_the_static_library_and_no_platform_function)
    link "$static"
    "$program"
    ;;
is_refused_by_the_linker_with_the_names_that_the_shared_library_misses)
    output=$(link "$shared" 2>&1) && refuse "the linker takes it"
    for name in "${imported[@]}"; do
        [[ $output == *"$name"* ]] || refuse "the linker does not name $name:"
    done
    ;;
is_refused_by_the_loader_with_a_name_that_the_shared_library_misses)
    # Lazily bound as far as the program goes: what is needed is for the library to say.
    link "$shared" -Wl,--allow-shlib-undefined -Wl,-z,lazy
    output=$("$program" 2>&1) && refuse "the loader takes it"
    [[ $output =~ undefined\ symbol:\ (rib_tlv_strip|rib_tlv_handle_delim|__strcpy_to_buf) ]] || refuse "the loader names none:"
    ;;
runs_with_the_shared_library_and_the_platform_libraries)
    link "$shared" -Wl,--no-as-needed "${platform[@]}" -Wl,-rpath,"$(dirname "${platform[0]}")"
    "$program"
    LD_BIND_NOW=1 "$program"
    ;;
runs_with_the_shared_library_and_platform_functions_of_its_own)
    link "$shared" -DOWN_PLATFORM_FUNCTIONS
    "$program"
    LD_BIND_NOW=1 "$program"
    ;;
*)
    printf 'check_codec_alone.sh: unknown claim %s\n' "$claim" >&2
    exit 2
    ;;
esac
