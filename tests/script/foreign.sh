#!/usr/bin/env bash
# The codec on processors with 32-bit addresses, and with the highest byte first: built by cross compilers, its tests under
# qemu-user. Called by script/nightly.
set -euo pipefail
cd "$(dirname "$0")/../.."
. script/steps.sh
script/bootstrap nightly
check_build_root

for processor in i386 s390x; do
    folder=$build_root/$processor
    step "$processor: configuring"
    cmake -S . -B "$folder" -G Ninja --toolchain "$PWD/cmake/toolchains/$processor.cmake" -DCMAKE_BUILD_TYPE=Release \
        -DRIB_WERROR=ON -DRIB_BUILD_TESTS=ON | grep "^-- Building the codec alone"
    step "$processor: building"
    build "$folder"
    step "$processor: tests"
    status=0
    run_tests "$folder" -j "$(nproc)" || status=$?
    cat "$folder/closing.txt"
    [ $status -eq 0 ] || exit $status
done
