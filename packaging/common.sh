# Sourced by the scripts beside it.
# shellcheck shell=bash disable=SC2034,SC2154

# Everything that is made here.
out=$repo/build/packaging
version=$(sed -n 's/^#define STALLSCOPE_VERSION "\(.*\)"$/\1/p' "$repo/packaging/Version.h")

die() {
    printf 'error: %s\n' "$@" >&2
    exit 1
}

# field NAME FILE: a field of a Debian control file, its lines joined.
field() {
    awk -v name="$1:" '/^[^ ]/ { found = $1 == name; if (found) sub(/^[^ ]+ */, "") }
                       found { printf "%s", $0 } END { print "" }' "$2"
}

# quickly COMMAND...: a build of a Debian package without debug information, which takes a third of
# the time.
quickly() {
    DEB_BUILD_OPTIONS="noautodbgsym parallel=$(nproc)" DEB_CXXFLAGS_APPEND=-g0 "$@"
}

# Installs what host/packages-device.txt lists and this machine lacks.
install_packages() {
    local -a missing
    mapfile -t missing < <(sed -e 's/#.*//' -e '/^ *$/d' "$repo/host/packages-device.txt" |
        while read -r name; do
            if [[ $(dpkg-query -W -f '${db:Status-Status}' "$name" 2>&1) != installed ]]; then
                echo "$name"
            fi
        done)
    if [[ ${#missing[@]} -eq 0 ]]; then return; fi
    if [[ $(id -u) -ne 0 ]]; then
        die "packages are missing and only root can install them. As root, run:" \
            "  apt-get install -y --no-install-recommends ${missing[*]}"
    fi
    # An index that can't be refreshed may still be good enough. The installation tells.
    step 'packages that building packages needs' env DEBIAN_FRONTEND=noninteractive sh -c \
        'apt-get update || true
         exec apt-get -o DPkg::Lock::Timeout=300 install -y --no-install-recommends "$@"' \
        sh "${missing[@]}"
}
