# What the scripts share that run inside the fresh root, as its root. Sourced.
#   /test      this folder        /packages   the packages, and below old/ those that they replace

set -euo pipefail
export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8
new=(librib1 librib-tlv1 librib-strutil1 librib-inspect1 librib-dev ribtool librib-doc)
cd "$(mktemp -d)"

claim() { printf '  %s\n' "$1"; }
fail() { printf 'FAILED: %s\n' "$1" >&2 && exit 1; }

# quietly COMMAND...: what it says is shown when it fails.
quietly() { "$@" >command.log 2>&1 || { cat command.log >&2 && fail "$*"; }; }

# The files of packages, by name, whatever their version.
files_of() { for name; do ls /packages/"$name"_[0-9]*.deb; done; }
# shellcheck disable=SC2046 # no blank in a package's name
install_new() { quietly apt-get install -y --no-install-recommends $(files_of "$@"); }
is_installed() { [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]; }
version_of() { dpkg-query -W -f='${Version}' "$1"; }
nothing_is_half_installed() { [ -z "$(dpkg --audit)" ] || { dpkg --audit >&2 && fail "packages are half installed"; }; }

# All files but what the system writes for itself.
list_files() {
    find / -xdev \( -path /proc -o -path /sys -o -path /dev -o -path /tmp -o -path /packages -o -path /test -o -path /root -o -path /run \
        -o -path /var/cache -o -path /var/log -o -path /var/lib/apt -o -path /var/lib/dpkg \) -prune -o -print | sort
}
