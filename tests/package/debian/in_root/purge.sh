# Takes all of it away, for what starts from nothing.
. /test/in_root/steps.sh
claim "all packages go"
quietly apt-get purge -y "${new[@]}"
for name in "${new[@]}"; do is_installed "$name" && fail "$name is still there"; done
nothing_is_half_installed
