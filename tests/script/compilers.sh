#!/usr/bin/env bash
# The whole tree by each compiler that is installed of those that we promise, warnings being errors; and the tests of the codec,
# the client library and the tools that take moments. Called by script/nightly.
#
#   tests/script/compilers.sh [COMPILER...]    g++-12 clang++-14 clang++-19 clang++-22 unless given
set -euo pipefail
cd "$(dirname "$0")/../.."
. script/steps.sh
script/bootstrap nightly
check_build_root

compilers=("$@")
[ ${#compilers[@]} -gt 0 ] || compilers=(g++-12 clang++-14 clang++-19 clang++-22)
# What takes minutes, and what does not depend on the compiler.
long='differential|_sanitized_|_baseline_|_bmi2_|^package_|^processor|instruction_counts|guards_|ribtool_streams|^script'
tested=0
for compiler in "${compilers[@]}"; do
    if ! command -v "$compiler" >/dev/null; then
        step "$compiler: not installed, left out"
        continue
    fi
    tested=$((tested + 1))
    folder=$build_root/$compiler
    step "$compiler: configuring"
    CC=${compiler/++/} CXX=$compiler
    case $compiler in g++*) CC=gcc${compiler#g++} ;; esac
    CC=$CC CXX=$CXX configure "$folder" release -DRIB_BUILD_TESTS=ON
    step "$compiler: building"
    build "$folder"
    step "$compiler: tests"
    status=0
    run_tests "$folder" -E "$long" -j "$(nproc)" || status=$?
    cat "$folder/closing.txt"
    [ $status -eq 0 ] || exit $status
done
[ $tested -gt 0 ] || fail "none of ${compilers[*]} is installed"
