"""The guest: its kernel, its first file system, and its run in QEMU."""

import glob
import os
import re
import shutil
import subprocess

MODULES = """virtio_pci 9pnet_virtio 9p ahci sd_mod virtio_scsi ext4 crc32c_generic vfat nls_ascii
    nls_cp437""".split()
OURS = ["tarnisctl", "tarnis.so", "libzelPlug.so", "libzelKit.so", "libzelKitEx.so", "libzelStore.so"]
TOOLS = ["smartctl", "lsblk", "setpriv"]
PORTS = 6  # of an AHCI controller


def load_order(modules):
    """Paths of the kernel modules and of all that they depend on, in the order of loading."""
    paths = {os.path.basename(p)[:-3].replace("-", "_"): p for p in modules}
    order = []

    def add(name):
        with open(paths[name], "rb") as file:
            needed = re.search(rb"\0depends=([^\0]*)\0", file.read()).group(1).decode()
        for other in filter(None, needed.replace("-", "_").split(",")):
            add(other)
        if paths[name] not in order:
            order.append(paths[name])

    for name in MODULES:
        if name in paths:  # else it is part of the kernel
            add(name)
    return order


def make_initramfs(kernel, binaries, bench, target):
    """Packs the first file system from what is installed here and the given build."""
    root = target + ".d"
    shutil.rmtree(root, ignore_errors=True)
    for folder in "bin dev etc/tarnis mnt modules proc share sys tarnis tmp".split():
        os.makedirs(f"{root}/{folder}")
    shutil.copy(shutil.which("busybox"), f"{root}/bin")
    shutil.copy(os.path.join(os.path.dirname(__file__), "init.sh"), f"{root}/init")
    programs = [os.path.join(binaries, name) for name in OURS + ["scan_bench"] * bench]
    for program in programs:
        subprocess.run(["strip", "-g", "-o", f"{root}/tarnis/{os.path.basename(program)}", program], check=True)
    programs += [shutil.which(name) for name in TOOLS]
    for tool in programs[-len(TOOLS) :]:
        shutil.copy(tool, f"{root}/bin")
    needed = subprocess.run(["ldd", *programs], check=True, stdout=subprocess.PIPE, text=True).stdout
    for library in set(re.findall(r"(/\S+) \(0x", needed)):
        if os.path.dirname(library) != os.path.abspath(binaries):
            os.makedirs(root + os.path.dirname(library), exist_ok=True)
            shutil.copy(library, root + library)
    modules = load_order(glob.glob(f"{kernel}/lib/modules/*/kernel/**/*.ko", recursive=True))
    for number, module in enumerate(modules):
        shutil.copy(module, f"{root}/modules/{number:02}.ko")
    with open(target, "wb") as file:
        names = subprocess.run(["find", "."], cwd=root, check=True, stdout=subprocess.PIPE).stdout
        pack = ["cpio", "-o", "-H", "newc", "-R", "0:0", "--quiet"]
        subprocess.run(pack, cwd=root, input=names, check=True, stdout=file)


def drive_options(disks, foreign, images):
    options = ["-device", "ich9-ahci,id=more", "-device", "virtio-scsi-pci,id=other"]
    for number, disk in enumerate([*disks, foreign]):
        options += ["-drive", f"file={images[number]},format=raw,if=none,id=d{number}"]
        device = f"drive=d{number},serial={disk.serial},rotation_rate={disk.rotation}"
        if disk is foreign:
            device += ",bus=other.0"
        else:
            bus = "ide" if number < PORTS else "more"
            device += f",bus={bus}.{number % PORTS},model={disk.model},ver=F{number}.7,wwn={0x5000C500 << 32 | number}"
        options += ["-device", ("scsi-hd," if disk is foreign else "ide-hd,") + device]
    return options


def run(kernel, initramfs, drives, share, console, words, processors, seconds):
    """Boots the guest and waits for its end. Returns whether it came in time."""
    command = ["qemu-system-x86_64", "-accel", "tcg,thread=multi", "-M", "q35", "-smp", processors, "-m", "1024"]
    command += ["-nodefaults", "-display", "none", "-no-reboot", "-serial", f"file:{console}"]
    command += ["-kernel", glob.glob(f"{kernel}/boot/vmlinuz-*")[0], "-initrd", initramfs]
    command += ["-append", f"console=ttyS0 quiet mitigations=off tsc=reliable no_timer_check panic=-1 {words}"]
    command += ["-virtfs", f"local,path={share},mount_tag=share,security_model=none", *drives]
    try:
        subprocess.run(command, stdin=subprocess.DEVNULL, check=True, timeout=seconds)
    except subprocess.TimeoutExpired:
        return False
    return True
