# shellcheck shell=bash
# Runs a command in a virtual machine with the distribution's own kernel. Source it after common.sh.
#
# The root of this machine is the root there. Changes go to memory and are lost, except in the folder
# $VM/shared. There is no network but the loopback. ORVEL_CLOCK_IS_FREE tells the command that it may set
# the clock. The processor is emulated, which makes it some ten times slower;
# ORVEL_VM_ACCELERATOR=kvm uses that of this machine.

VM=$ROOT/build/vm
# Required to mount the root; later modules are loaded by the kernel's own requests.
VM_MODULES=(virtio_pci 9pnet_virtio 9p overlay loop)

# Downloads and unpacks the kernel's package, without installing it.
vm_kernel() {
    if [[ -d $VM/kernel/boot ]]; then return; fi
    local package
    package=$(apt-cache depends linux-image-amd64 | sed -n 's/.*Depends: \(linux-image-[0-9].*\)/\1/p' | head -n 1)
    [[ $package ]] || fail "the distribution has no package linux-image-amd64"
    say "Unpacking $package"
    mkdir -p "$VM/package"
    (cd "$VM/package" && apt-get download -q "$package")
    dpkg-deb --extract "$VM"/package/*.deb "$VM/kernel"
    rm -r "$VM/package"
    depmod --basedir "$VM/kernel" "$(ls "$VM/kernel/lib/modules")"
}

# vm_init MODULES_VERSION COMMAND...: prints the first program of the machine.
vm_init() {
    local version=$1
    shift
    cat <<END
#!/bin/busybox sh
/bin/busybox --install -s /bin
export PATH=/bin
mount -t proc proc /proc
mount -t devtmpfs dev /dev
for module in \$(ls /modules | sort -n); do insmod /modules/\$module; done
mount -t 9p -o trans=virtio,version=9p2000.L,msize=262144,cache=loose,ro root /below || poweroff -f
mount -t tmpfs -o size=80% memory /memory
mkdir /memory/upper /memory/work
mount -t overlay -o lowerdir=/below,upperdir=/memory/upper,workdir=/memory/work overlay /root || poweroff -f
mount -t proc proc /root/proc
mount -t sysfs sys /root/sys
mount -t devtmpfs dev /root/dev
mkdir -p /root/dev/pts /root/dev/shm '/root$VM/shared' /root/lib/modules/$version
mount -t devpts devpts /root/dev/pts
for folder in dev/shm tmp run; do mount -t tmpfs tmpfs /root/\$folder; done
mount -t 9p -o trans=virtio,version=9p2000.L,msize=262144 shared '/root$VM/shared'
mount --bind '/root$VM/kernel/lib/modules/$version' /root/lib/modules/$version
ip link set lo up
HOME=/root LC_ALL=C.UTF-8 ORVEL_CLOCK_IS_FREE=1 PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \\
    chroot /root /bin/bash -c $(printf '%q' "$(printf '%q ' "$@")") >'/root$VM/shared/output' 2>&1
echo \$? >'/root$VM/shared/status'
poweroff -f
END
}

# in_vm COMMAND...: runs a command as root there and prints its output as it comes. Returns its exit
# status, or 1 if the machine does not start or takes more than an hour.
in_vm() {
    local version image=$VM/image module number=0
    vm_kernel
    version=$(ls "$VM/kernel/lib/modules")
    rm -rf "$image" "$VM/shared"
    mkdir -p "$VM/shared" "$image"/{bin,sbin,modules,proc,dev,below,memory,root}
    cp /bin/busybox "$image/bin/busybox"
    while read -r module; do
        number=$((number + 1))
        cp "$module" "$image/modules/$number-${module##*/}"
    done < <(modprobe --dirname "$VM/kernel" --set-version "$version" --show-depends --all \
        "${VM_MODULES[@]}" | sed -n 's/^insmod \([^ ]*\).*/\1/p' | awk '!seen[$0]++')
    vm_init "$version" "$@" >"$image/init"
    # The kernel requests modules from this root; the real modprobe is in the other.
    printf '#!/bin/busybox sh\nexec /bin/busybox chroot /root /sbin/modprobe "$@"\n' >"$image/sbin/modprobe"
    chmod +x "$image/init" "$image/sbin/modprobe"
    (cd "$image" && find . | busybox cpio -o -H newc 2>/dev/null) | gzip -1 >"$VM/initramfs"
    touch "$VM/shared/output"
    timeout 3600 qemu-system-x86_64 -accel "${ORVEL_VM_ACCELERATOR:-tcg,thread=multi}" -cpu max -smp 2 -m 3G -nodefaults -display none \
        -no-reboot -nic none -serial "file:$VM/console" -kernel "$VM/kernel/boot/vmlinuz-$version" \
        -initrd "$VM/initramfs" -append "console=ttyS0 quiet panic=1 mitigations=off" \
        -fsdev local,id=root,path=/,security_model=none,readonly=on,multidevs=remap \
        -device virtio-9p-pci,fsdev=root,mount_tag=root \
        -fsdev "local,id=shared,path=$VM/shared,security_model=none" \
        -device virtio-9p-pci,fsdev=shared,mount_tag=shared &
    tail --follow --pid $! "$VM/shared/output"
    [[ -e $VM/shared/status ]] || {
        tail -n 5 "$VM/console" >&2
        warn "the virtual machine did not end the command"
        return 1
    }
    return "$(<"$VM/shared/status")"
}

# on_disks COMMAND [DISK...]: runs the command in the array of this name, followed by a scratch folder,
# --list-missing, a file and the disks. Runs it again in a virtual machine for each disk that it lists in the
# file. Returns 1 or another status of failure.
on_disks() {
    local -n disk_command=$1
    local disk code status=0 missing
    shift
    say "Disks of this machine's kernel"
    "${disk_command[@]}" "$ROOT/build/disks" --list-missing "$VM-missing" "$@" || status=$?
    [[ -e $VM-missing ]] || return "$status"
    mapfile -t missing <"$VM-missing"
    rm "$VM-missing"
    if ((${#missing[@]})); then say "Disks in a virtual machine"; fi
    if ((status == 77)); then status=0; fi
    # One machine for each: if one hangs, the others are tried.
    for disk in "${missing[@]}"; do
        in_vm "${disk_command[@]}" /tmp/disks "$disk" || {
            code=$?
            if ((status == 0 || code != 77)); then status=$code; fi # what was skipped hides no failure
        }
    done
    return "$status"
}
