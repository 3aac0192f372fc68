"""The disks of the matrix. Each is made below a scratch folder, with a size of at least some megabytes, and
mounted for a `with` block."""

import contextlib
import os
import shutil
import socket
import subprocess
import time
from pathlib import Path


EXT4 = ("mkfs.ext4", "-q", "-F")


class NotMade(Exception):
    """This machine cannot make the disk; the text says why."""


def command(*words, **options):
    """Runs a program; NotMade if it is missing or fails."""
    try:
        done = subprocess.run(words, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True,
                              check=False, timeout=120, **options)
    except FileNotFoundError:
        raise NotMade(words[0] + " is not installed") from None
    if done.returncode != 0:
        line = (done.stderr.strip().splitlines() or ["exit code %d" % done.returncode])[-1]
        raise NotMade("%s: %s" % (os.path.basename(words[0]), line))


def started(stack, *words, stdout=subprocess.DEVNULL, **options):
    """Starts a program that runs until the ExitStack is closed; NotMade if it is missing."""
    try:
        process = subprocess.Popen(words, stdout=stdout, stderr=subprocess.DEVNULL, **options)
    except FileNotFoundError:
        raise NotMade(words[0] + " is not installed") from None
    stack.callback(process.wait)
    stack.callback(process.terminate)
    return process


def folder(*parts):
    path = os.path.join(*parts)
    os.makedirs(path, exist_ok=True)
    return path


def unmount(path):
    """Ends a mount. A FUSE file system may be busy for a moment after its last file was closed; that of a
    server that hangs is only detached."""
    for _ in range(20):
        with contextlib.suppress(subprocess.TimeoutExpired):
            if subprocess.Popen(["umount", path], stderr=subprocess.DEVNULL).wait(10) == 0:
                return
        time.sleep(0.2)
    subprocess.run(["umount", "-l", path], check=False)


@contextlib.contextmanager
def mounted(path, *words, **options):
    """The path while something is mounted on it by a command."""
    command(*words, **options)
    try:
        for _ in range(50):  # some FUSE programs go into the background before they have mounted
            if os.path.ismount(path):
                break
            time.sleep(0.1)
        else:
            raise NotMade(words[0] + " has mounted nothing")
        yield path
    finally:
        unmount(path)


# --- disks in a file -----------------------------------------------------------------------------

@contextlib.contextmanager
def image(scratch, megabytes, *make):
    path = os.path.join(folder(scratch), "image")
    with open(path, "wb") as file:
        file.truncate(megabytes << 20)
    try:
        command(*make, path)
        yield path
    finally:
        os.remove(path)


def kernel(kind, *make, smallest=0, options="noatime"):
    """A disk in a file, mounted by the kernel as `kind`."""
    @contextlib.contextmanager
    def disk(scratch, megabytes=64):
        path = folder(scratch, "disk")
        with image(scratch, max(megabytes, smallest), *make) as file, \
                mounted(path, "mount", "-t", kind, "-o", "loop," + options, file, path):
            yield path
    return disk


def program(mount, *make):
    """A disk in a file, mounted by a FUSE program: `mount` gives the words of its command."""
    @contextlib.contextmanager
    def disk(scratch, megabytes=64):
        path = folder(scratch, "disk")
        with image(scratch, megabytes, *make) as file, mounted(path, *mount(file, path)):
            yield path
    return disk


@contextlib.contextmanager
def casefold(scratch, megabytes=64):
    """ext4 with a folder whose names are compared without regard to case."""
    with kernel("ext4", "mkfs.ext4", "-q", "-F", "-O", "casefold")(scratch, megabytes) as path:
        below = folder(path, "folded")
        command("chattr", "+F", below)
        yield below


def ntfs3g(mount, options):
    return program(lambda file, path: (mount, "-o", options, file, path), "mkfs.ntfs", "-q", "-F")


@contextlib.contextmanager
def exfat_fuse(scratch, megabytes=64):
    """The program takes block devices only."""
    path = folder(scratch, "disk")
    with image(scratch, megabytes, "mkfs.exfat") as file:
        device = subprocess.run(["losetup", "--find", "--show", file], capture_output=True, text=True,
                                check=False).stdout.strip()
        if not device:
            raise NotMade("losetup: no loop device")
        try:
            with mounted(path, "mount.exfat-fuse", device, path):
                yield path
        finally:
            subprocess.run(["losetup", "--detach", device], check=False)


# --- disks on top of a folder --------------------------------------------------------------------

@contextlib.contextmanager
def tmpfs(scratch, megabytes=64):
    path = folder(scratch, "disk")
    with mounted(path, "mount", "-t", "tmpfs", "-o", "size=%dm" % megabytes, "tmpfs", path):
        yield path


def above(*words, prepare=None):
    """A file system that shows a folder of an ext4 disk: `words` are its command, in which LOWER,
    UPPER, WORK and DISK stand for folders. `prepare` gets the folders by name first."""
    @contextlib.contextmanager
    def disk(scratch, megabytes=64):
        with kernel("ext4", *EXT4)(folder(scratch, "below"), megabytes) as below:
            names = {name: folder(below, name.lower()) for name in ("LOWER", "UPPER", "WORK")}
            names["DISK"] = folder(scratch, "disk")
            if prepare:
                prepare(names)

            def filled(word):
                for name, path in names.items():
                    word = word.replace(name, path)
                return word

            with mounted(names["DISK"], *map(filled, words)):
                yield names["DISK"]
    return disk


@contextlib.contextmanager
def gocryptfs(scratch, megabytes=64, user=False):
    secret = os.path.join(folder(scratch), "secret")
    Path(secret).write_text("secret\n", encoding="ascii")

    def prepare(names):
        command("gocryptfs", "-init", "-q", "-scryptn", "10", "-passfile", secret, names["LOWER"])
        if user:
            shutil.chown(names["LOWER"], 1000, 1000)
            for name in os.listdir(names["LOWER"]):
                shutil.chown(os.path.join(names["LOWER"], name), 1000, 1000)

    disk = above("gocryptfs", "-q", "-passfile", secret, "LOWER", "DISK", prepare=prepare)
    with disk(scratch, megabytes) as path:
        yield path


@contextlib.contextmanager
def rclone(scratch, megabytes=64):
    """A remote folder of rclone's, which caches written files: reading changes their times."""
    with kernel("ext4", *EXT4)(folder(scratch, "below"), megabytes) as shown:
        path = folder(scratch, "disk")
        words = ["rclone", "mount", shown, path, "--vfs-cache-mode", "writes", "--daemon",
                 "--config", os.devnull, "--cache-dir", folder(scratch, "cache")]
        with mounted(path, *words):
            yield path


@contextlib.contextmanager
def sshfs(scratch, megabytes=64):
    """sshfs that talks to a server program directly, without a network."""
    path = folder(scratch, "disk")
    here, there = socket.socketpair()
    with kernel("ext4", *EXT4)(folder(scratch, "below"), megabytes) as shown, contextlib.ExitStack() as ended:
        for words, end in ((["/usr/lib/openssh/sftp-server"], there),
                           (["sshfs", "-f", "-o", "passive", ":" + shown, path], here)):
            started(ended, *words, stdin=end, stdout=end)
            end.close()
        with mounted(path, "true"):
            yield path


# --- servers on the loopback ---------------------------------------------------------------------

def nfs(options):
    @contextlib.contextmanager
    def disk(scratch, megabytes=64):
        path = folder(scratch, "disk")
        with kernel("ext4", *EXT4)(folder(scratch, "below"), megabytes) as shown:
            command("modprobe", "nfsd")
            folder("/run/rpcbind")
            subprocess.run(["rpcbind", "-w"], stderr=subprocess.DEVNULL, check=False)
            folder("/var/lib/nfs/v4recovery")
            if not os.path.ismount("/proc/fs/nfsd"):
                command("mount", "-t", "nfsd", "nfsd", "/proc/fs/nfsd")
            command("exportfs", "-o", "rw,no_root_squash,insecure,no_subtree_check,fsid=0", "127.0.0.1:" + shown)
            command("rpc.mountd")
            subprocess.run(["rpc.statd"], stderr=subprocess.DEVNULL, check=False)
            command("rpc.nfsd", "--grace-time", "10", "--lease-time", "10", "2")
            # No client is waited for that had files open before.
            Path("/proc/fs/nfsd/v4_end_grace").write_text("Y\n", encoding="ascii")
            try:
                # What has the number 0 is the root of version 4.
                top = "/" if options.startswith("vers=4") else shown
                with mounted(path, "mount", "-t", "nfs", "-o", options, "127.0.0.1:" + top, path):
                    yield path
            finally:
                command("rpc.nfsd", "0")
                command("exportfs", "-u", "127.0.0.1:" + shown)
                subprocess.run(["pkill", "rpc.mountd"], check=False)
    return disk


SMB_CONF = """[global]
    server role = standalone server
    map to guest = bad user
    guest account = root
    disable netbios = yes
    smb ports = 4450
    lock directory = %(state)s
    state directory = %(state)s
    cache directory = %(state)s
    private dir = %(state)s
    pid directory = %(state)s
    ncalrpc dir = %(state)s/ncalrpc
    log file = %(state)s/log
[share]
    path = %(shown)s
    guest ok = yes
    force user = root
    read only = no
    store dos attributes = yes
"""


@contextlib.contextmanager
def samba(scratch, megabytes=64):
    """A server of Samba; yields the folder of its state."""
    with kernel("ext4", *EXT4)(folder(scratch, "below"), megabytes) as shown, contextlib.ExitStack() as ended:
        state = folder(scratch, "state")
        ended.callback(shutil.rmtree, state, ignore_errors=True)
        conf = os.path.join(state, "smb.conf")
        Path(conf).write_text(SMB_CONF % {"state": state, "shown": shown}, encoding="ascii")
        # It ends with all of its process group.
        started(ended, "smbd", "-s", conf, "-F", "--no-process-group", start_new_session=True)
        for _ in range(100):
            with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", 4450), 1):
                break
            time.sleep(0.2)
        yield state


def cifs(options):
    @contextlib.contextmanager
    def disk(scratch, megabytes=64):
        path = folder(scratch, "disk")
        with samba(scratch, megabytes), mounted(path, "mount", "-t", "cifs", "-o", "guest,port=4450," + options,
                                     "//127.0.0.1/share", path):
            yield path
    return disk


@contextlib.contextmanager
def gvfs(scratch, megabytes=64):
    """The desktop's own client of SMB, which shows the share by FUSE."""
    runtime = folder(scratch, "run")
    os.chmod(runtime, 0o700)
    environment = {**os.environ, "XDG_RUNTIME_DIR": runtime, "HOME": folder(scratch, "home")}
    with samba(scratch, megabytes), contextlib.ExitStack() as ended:
        # The bus starts the client's programs, which end with it.
        bus = started(ended, "dbus-daemon", "--session", "--nofork", "--print-address=1",
                      env=environment, stdout=subprocess.PIPE)
        environment["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().decode().strip()
        with mounted(folder(runtime, "gvfs"), "gio", "mount", "-a", "smb://127.0.0.1:4450/share",
                     env=environment) as top:
            yield os.path.join(top, *os.listdir(top))


# Name, how it is made, and whether a machine of the usual kind runs it with all other tests.
DISKS = {
    "ext4": (kernel("ext4", *EXT4), True),
    "ext4, 128-byte inodes": (kernel("ext4", *EXT4, "-I", "128"), True),
    "ext4, casefold": (casefold, False),
    "ext3": (kernel("ext3", "mkfs.ext3", "-q", "-F"), False),
    "ext2": (kernel("ext2", "mkfs.ext2", "-q", "-F"), False),
    "xfs": (kernel("xfs", "mkfs.xfs", "-q", smallest=320), False),
    "btrfs": (kernel("btrfs", "mkfs.btrfs", "-q", smallest=128), False),
    "f2fs": (kernel("f2fs", "mkfs.f2fs", "-q"), False),
    "exfat": (kernel("exfat", "mkfs.exfat"), False),
    "vfat": (kernel("vfat", "mkfs.vfat", options="utf8"), False),
    "vfat, flush": (kernel("vfat", "mkfs.vfat", options="utf8,flush"), False),
    "ntfs3": (kernel("ntfs3", "mkfs.ntfs", "-q", "-F"), False),
    "tmpfs": (tmpfs, True),
    "overlayfs": (above("mount", "-t", "overlay", "-o", "lowerdir=LOWER,upperdir=UPPER,workdir=WORK",
                        "overlay", "DISK"), True),
    "ntfs-3g": (ntfs3g("ntfs-3g", "big_writes"), False),
    "ntfs-3g, ignore_case": (ntfs3g("lowntfs-3g", "ignore_case"), False),
    "ntfs-3g, windows_names": (ntfs3g("ntfs-3g", "windows_names"), False),
    "exfat-fuse": (exfat_fuse, False),
    "fuse2fs": (program(lambda file, path: ("fuse2fs", file, path), *EXT4), False),
    "sshfs": (sshfs, False),
    "bindfs": (above("bindfs", "LOWER", "DISK"), False),
    "gocryptfs": (gocryptfs, False),
    "gocryptfs, of a user": (lambda scratch, megabytes=64: gocryptfs(scratch, megabytes, user=True), False),
    "rclone": (rclone, False),
    "fuse-overlayfs": (above("fuse-overlayfs", "-o",
                             "lowerdir=LOWER,upperdir=UPPER,workdir=WORK", "DISK"), False),
    "NFS 4.2": (nfs("vers=4.2"), False),
    "NFS 3": (nfs("vers=3,nolock"), False),
    "SMB": (cifs("vers=3.1.1"), False),
    "SMB, nobrl, no cache": (cifs("vers=3.1.1,nobrl,cache=none"), False),
    "SMB, gvfs": (gvfs, False),
}
