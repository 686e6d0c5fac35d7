# Sourced by host/setup: what is fetched from the Debian mirrors that the machine is configured for.
# Uses its begin, finish, logged, die, names_in, and the variables repo and cache.
# It has set -e, so a failing cd ends it.
# shellcheck shell=bash disable=SC2154,SC2164

# What the guest loads, in loading order; kernels have some of them built in.
readonly -a kernel_modules=(virtio_ring virtio virtio_pci_legacy_dev virtio_pci_modern_dev
    virtio_pci virtio_console netfs fscache 9pnet 9pnet_virtio 9p overlay binder_linux)
# What is taken out of the source package, below its top folder.
readonly -a source_folders=(frameworks/native/libs/binder frameworks/native/cmds/servicemanager
    system/core/debuggerd/include system/core/debuggerd/common/include
    system/core/libprocessgroup/include system/core/libunwindstack/include
    system/core/libutils/Errors.cpp)

# The machine's own package sources, with the source index beside each binary one, in a private
# place: fetching so needs no root and leaves the machine's configuration alone.
copy_package_sources() {
    local to=$1 list parts file
    eval "$(apt-config shell list Dir::Etc::sourcelist/f parts Dir::Etc::sourceparts/d)"
    mkdir -p "$to"
    for file in "$list" "$parts"/*.list; do
        if [[ ! -r $file ]]; then continue; fi
        sed -n -E 's/^[[:space:]]*deb([[:space:]].*)/deb\1\ndeb-src\1/p' "$file" \
            >"$to/$(basename "$file")"
    done
    for file in "$parts"/*.sources; do
        if [[ ! -r $file ]]; then continue; fi
        sed -E 's/^Types:.*/Types: deb deb-src/I' "$file" >"$to/$(basename "$file")"
    done
    if [[ -z $(cat "$to"/* 2>/dev/null) ]]; then
        die 'apt has no package sources on this machine; add a Debian 12 mirror to /etc/apt.'
    fi
}

# write_apt_configuration DIR ARCHITECTURE: for another one than the machine's own it has nothing
# installed, so that whole closures are fetched and the machine's dpkg knows nothing of it.
write_apt_configuration() {
    cat >"$1/apt.conf" <<END
#clear APT::Update::Pre-Invoke;
#clear APT::Update::Post-Invoke;
#clear APT::Update::Post-Invoke-Success;
#clear DPkg::Post-Invoke;
Dir::Etc::SourceList "/dev/null";
Dir::Etc::SourceParts "$1/sources";
Dir::State::Lists "$1/lists";
Dir::Cache "$1/cache";
APT::Sandbox::User "root";
Acquire::Languages "none";
END
    if [[ $2 == "$(dpkg --print-architecture)" ]]; then return; fi
    : >"$1/status"
    cat >>"$1/apt.conf" <<END
APT::Architecture "$2";
#clear APT::Architectures;
APT::Architectures { "$2"; };
APT::Install-Recommends "false";
Dir::State "$1";
Dir::State::status "$1/status";
END
}

# prepare_fetching [ARCHITECTURE]: sets apt_conf; done once per run and architecture, and only when
# something has to be fetched.
apt_conf=
declare -A apt_confs=()
prepare_fetching() {
    local arch=${1:-amd64} dir
    apt_conf=${apt_confs[$arch]:-}
    if [[ -n $apt_conf ]]; then return; fi
    dir=$(mktemp -d "$cache/tmp.apt.XXXXXX")
    begin "package index of the configured mirrors, $arch"
    copy_package_sources "$dir/sources"
    mkdir -p "$dir/lists/partial" "$dir/cache/archives/partial"
    write_apt_configuration "$dir" "$arch"
    # A third-party source without a source index makes this fail; the downloads tell what matters.
    apt-get -c "$dir/apt.conf" update >"$cache/index.log" 2>&1 || true
    if [[ -z $(find "$dir/lists" -name '*_Packages*' -print -quit) ]]; then
        tail -n 5 "$cache/index.log" >&2
        die 'no package index could be fetched. Is there a network, and is the mirror that' \
            "/etc/apt names reachable? The whole output is in $cache/index.log"
    fi
    apt_conf=$dir/apt.conf
    apt_confs[$arch]=$apt_conf
    finish 'fetched'
}

# is_fetched FOLDER WANTED...: whether the folder of the cache was made with the same wants.
is_fetched() {
    local folder=$1
    shift
    [[ -e $folder/version && $(cat "$folder/wanted" 2>/dev/null) == "$(printf '%s\n' "$@")" ]]
}

fetch_source() {
    local target=$cache/source
    if is_fetched "$target" "${source_folders[@]}"; then return; fi
    prepare_fetching
    begin 'platform source package (75 MB)'
    local tmp
    tmp=$(mktemp -d "$cache/tmp.source.XXXXXX")
    cd "$tmp"
    logged "$cache/source.log" apt-get -c "$apt_conf" source --download-only android-platform-tools ||
        die 'the source package android-platform-tools could not be fetched.' \
            'Is the Debian mirror that apt uses reachable, and does it carry source packages?' \
            "See $cache/index.log and $cache/source.log"
    unpack_source "$tmp"
    cd "$repo"
    rm -rf "$target"
    mv "$tmp/unpacked" "$target"
    rm -rf "$tmp"
    finish "$(cat "$target/version")"
}

unpack_source() {
    local tmp=$1 top
    local -a archives=("$tmp"/*.orig.tar.*)
    mkdir "$tmp/unpacked"
    # Any member names the top folder; a full listing of the archive would take longer.
    top=$(basename "$tmp"/*.dsc .dsc)
    top=${top%_*}-$(sed -n 's/^Version: \([0-9]*:\)\?\([^-]*\).*/\2/p' "$tmp"/*.dsc)
    logged "$cache/source.log" tar -x -f "${archives[0]}" -C "$tmp/unpacked" --strip-components=1 \
        "${source_folders[@]/#/$top/}" ||
        die "the source package is not laid out as expected; see $cache/source.log"
    printf '%s\n' "${source_folders[@]}" >"$tmp/unpacked/wanted"
    sed -n 's/^Version: //p' "$tmp"/*.dsc | head -n 1 >"$tmp/unpacked/version"
}

# newest_kernel REGEX: the newest kernel package of that name pattern.
newest_kernel() {
    apt-cache -c "$apt_conf" search --names-only "$1" | cut -d' ' -f1 | sort -V | tail -n 1
}

# fetch_kernel LINE REGEX [ARCHITECTURE]: kernels/LINE holds vmlinuz, the modules the guest needs,
# and version.
fetch_kernel() {
    local target=$cache/kernels/$1 package tmp
    if is_fetched "$target" "${kernel_modules[@]}"; then return; fi
    prepare_fetching "${3:-amd64}"
    begin "kernel $1"
    package=$(newest_kernel "$2")
    if [[ -z $package ]]; then
        die "the configured mirrors list no kernel package $2." \
            "Are bookworm and bookworm-security among apt's sources? See $cache/index.log"
    fi
    tmp=$(mktemp -d "$cache/tmp.kernel.XXXXXX")
    cd "$tmp"
    logged "$cache/kernel.log" apt-get -c "$apt_conf" download "$package" ||
        die "kernel package $package could not be fetched; see $cache/kernel.log"
    unpack_kernel "$tmp"
    cd "$repo"
    echo "$package" >"$tmp/out/version"
    mkdir -p "$cache/kernels"
    rm -rf "$target"
    mv "$tmp/out" "$target"
    rm -rf "$tmp"
    finish "$package"
}

unpack_kernel() {
    local tmp=$1 name
    local -a patterns=('./boot/vmlinuz-*')
    for name in "${kernel_modules[@]}"; do patterns+=("*/$name.ko" "*/$name.ko.xz"); done
    mkdir -p "$tmp/all" "$tmp/out/modules"
    # tar complains of each pattern without a match; what must be there is checked below.
    dpkg-deb --fsys-tarfile "$tmp"/*.deb |
        tar -x -C "$tmp/all" --wildcards "${patterns[@]}" 2>/dev/null || true
    find "$tmp/all" -name '*.ko.xz' -exec xz -d {} +
    find "$tmp/all" -name '*.ko' -exec mv -t "$tmp/out/modules" {} +
    find "$tmp/all" -name 'vmlinuz-*' -exec mv {} "$tmp/out/vmlinuz" \;
    for name in vmlinuz modules/{binder_linux,9p,9pnet_virtio,overlay}.ko; do
        if [[ ! -s $tmp/out/$name ]]; then die "$(basename "$tmp"/*.deb) holds no $name"; fi
    done
    printf '%s\n' "${kernel_modules[@]}" >"$tmp/out/wanted"
}

# fetch_root: root-arm64/root holds the packages of host/root-arm64.txt and all that they depend on,
# unpacked but not configured. Beside it version lists them.
fetch_root() {
    local target=$cache/root-arm64 tmp archives
    local -a packages
    mapfile -t packages < <(names_in "$repo/host/root-arm64.txt")
    if is_fetched "$target" "${packages[@]}"; then return; fi
    prepare_fetching arm64
    begin 'arm64 libraries and programs (100 MB)'
    logged "$cache/root.log" apt-get -c "$apt_conf" install -y --download-only "${packages[@]}" ||
        die "the arm64 packages could not be fetched; see $cache/index.log and $cache/root.log"
    tmp=$(mktemp -d "$cache/tmp.root.XXXXXX")
    archives=${apt_conf%/*}/cache/archives
    unpack_root "$tmp/out/root" "$archives"
    printf '%s\n' "${packages[@]}" >"$tmp/out/wanted"
    (cd "$archives" && printf '%s\n' *.deb) >"$tmp/out/version"
    rm -rf "$target"
    mv "$tmp/out" "$target"
    rm -rf "$tmp"
    finish "$(wc -l <"$target/version") packages"
}

# unpack_root ROOT ARCHIVES: into a root with merged /usr, of which packages know nothing.
unpack_root() {
    local root=$1 archive name
    mkdir -p "$root"/usr/{bin,sbin,lib}
    for name in bin sbin lib; do ln -s "usr/$name" "$root/$name"; done
    for archive in "$2"/*.deb; do
        # shellcheck disable=SC2016 # the inner shell expands them
        logged "$cache/root.log" bash -o pipefail -c 'dpkg-deb --fsys-tarfile "$1" |
            tar -x --keep-directory-symlink --no-same-permissions -C "$2" \
                --exclude="./usr/share/doc/*" --exclude="./usr/share/locale/*" \
                --exclude="./usr/share/man/*"' unpack "$archive" "$root" ||
            die "${archive##*/} could not be unpacked; is the disk full? See $cache/root.log"
    done
    adapt_root "$root"
    for name in usr/bin/{bash,env,java} usr/lib/aarch64-linux-gnu/{libc.so,android/liblog.so}; do
        if [[ ! -s $root/$name ]]; then die "the arm64 packages hold no $name"; fi
    done
}

# What maintainer scripts would do, as far as it is needed, and what use as a sysroot asks for.
adapt_root() {
    local root=$1 link
    ln -s mawk "$root/usr/bin/awk"
    ln -s ../lib/jvm/java-17-openjdk-arm64/bin/java "$root/usr/bin/java"
    # Programs that are emulated one by one would find these instead of the machine's own.
    rm -rf "${root:?}"/{dev,proc,run,sys,tmp}
    find "$root" -type l -lname '/*' | while read -r link; do
        ln -sfn "$(realpath -m --relative-to="$(dirname "$link")" "$root$(readlink "$link")")" "$link"
    done
}
