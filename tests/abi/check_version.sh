#!/usr/bin/env bash
# Fails when what has to be written by hand speaks of another version than rib_version.h, and names it.
#     check_version.sh ROOT VERSION
set -euo pipefail

cd "$1"
version=$2
failed=0
[[ $(head -n 1 debian/changelog) == *"($version-"* ]] || { echo "debian/changelog begins with another version than $version" && failed=1; }
for page in man/*.[0-9]; do
    grep -qx "[.]Os librib ${version%.*}" "$page" || { echo "$page has no line '.Os librib ${version%.*}'" && failed=1; }
done
exit $failed
