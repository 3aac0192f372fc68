# shellcheck shell=bash
# The required packages of the distribution. Source it after common.sh.
# "one|other" requires one of the two; the first that the distribution offers is installed.

packages_of() {
    case $1 in
    build)
        echo build-essential cmake ninja-build qt6-base-dev libdeflate-dev zlib1g-dev libcli11-dev \
            nlohmann-json3-dev libpcre2-dev pkg-config libwayland-dev wayland-protocols \
            libgtest-dev libgmock-dev python3
        ;;
    test)
        echo "p7zip-full|7zip" libarchive-tools attr procps file \
            xdg-utils strace e2fsprogs faketime
        ;;
    display) echo xvfb openbox xdotool x11-utils imagemagick fonts-dejavu-core dbus at-spi2-core \
            python3-gi gir1.2-atspi-2.0 libglib2.0-bin desktop-file-utils shared-mime-info mousepad pcmanfm ;;
    wayland) echo sway weston qt6-wayland ;;
    bench) echo ziptool ;;
    archivers) echo ark file-roller engrampa dbus ;;
    package) echo desktop-file-utils appstream shared-mime-info dpkg-dev lintian binutils gzip file ;;
    windows)
        echo g++-mingw-w64-x86-64-posix libz-mingw-w64-dev googletest dpkg-dev nsis wine wine64
        ;;
    wine) echo wine wine64 gcc-mingw-w64-x86-64-posix ;;
    lint) echo clang clang-format clang-tidy shellcheck ;;
    assets) echo librsvg2-bin imagemagick fonts-dejavu-core ;;
    memcheck) echo valgrind ;;
    clang) echo clang ;;
    debian) echo debootstrap ;;
    disks)
        echo xfsprogs btrfs-progs f2fs-tools exfatprogs dosfstools ntfs-3g exfat-fuse fuse2fs sshfs \
            openssh-sftp-server bindfs gocryptfs rclone fuse-overlayfs nfs-kernel-server samba cifs-utils \
            gvfs-fuse gvfs-backends dbus libglib2.0-bin qemu-system-x86 busybox-static kmod
        ;;
    fuzz) echo clang llvm "libclang-rt-14-dev|libclang-rt-19-dev" ;;
    esac
}

installed() {
    [[ $(dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

# missing_packages GROUP...: prints the missing packages (or "one|other"), one a line.
missing_packages() {
    local group package choice
    for group in "$@"; do
        for package in $(packages_of "$group"); do
            for choice in ${package//|/ }; do
                if installed "$choice"; then continue 2; fi
            done
            echo "$package"
        done
    done | sort -u
}

# choose_package "one|other": prints the first that the distribution offers.
choose_package() {
    local choice
    for choice in ${1//|/ }; do
        if apt-cache show "$choice" >/dev/null 2>&1; then
            echo "$choice"
            return
        fi
    done
    fail "the distribution has no package ${1//|/ or }"
}

# install_packages GROUP...: installs the missing packages.
install_packages() {
    local absent names=() package as_root=()
    mapfile -t absent < <(missing_packages "$@")
    if ((${#absent[@]} == 0)); then return; fi
    command -v apt-get >/dev/null ||
        fail "apt-get not found: install ${absent[*]}"
    if ((EUID != 0)); then
        command -v sudo >/dev/null ||
            fail "no root and no sudo: install ${absent[*]}"
        as_root=(sudo)
    fi
    say "Installing ${absent[*]}"
    "${as_root[@]}" apt-get update -q
    for package in "${absent[@]}"; do names+=("$(choose_package "$package")"); done
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -q -y --no-install-recommends "${names[@]}"
}
