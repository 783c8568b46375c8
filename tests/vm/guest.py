# The guest: its kernel modules, its first file system, its drives and its run in QEMU.

import glob
import os
import re
import shutil
import subprocess

from disks import output_of

MODULES = "virtio_pci 9pnet_virtio 9p ahci sd_mod virtio_scsi ext4 crc32c_generic vfat nls_ascii nls_cp437"
OURS = ["tarnisctl", "tarnis.so", "libzelPlug.so", "libzelKit.so", "libzelKitEx.so", "libzelStore.so"]
TOOLS = ["busybox", "smartctl", "lsblk", "setpriv"]
BENCHES, RIVALS = ["scan_bench", "rival_bench"], ["smartd", "skdump"]
PORTS = 6  # of an AHCI controller


# Paths of the kernel modules and of all that they depend on, in the order of loading.
def load_order(kernel):
    modules = glob.glob(f"{kernel}/lib/modules/*/kernel/**/*.ko", recursive=True)
    paths = {os.path.basename(path)[:-3].replace("-", "_"): path for path in modules}
    order = []

    def add(name):
        with open(paths[name], "rb") as file:
            needed = re.search(rb"\0depends=([^\0]*)\0", file.read()).group(1).decode()
        for other in filter(None, needed.replace("-", "_").split(",")):
            add(other)
        if paths[name] not in order:
            order.append(paths[name])

    for name in MODULES.split():
        if name in paths:  # else it is part of the kernel
            add(name)
    return order


# Packs the first file system from what is installed here and the given build.
def make_initramfs(kernel, binaries, bench, target):
    root = target + ".d"
    for folder in "bin dev etc/tarnis mnt modules proc share sys tarnis tmp usr/applets".split():
        os.makedirs(f"{root}/{folder}")
    shutil.copy(os.path.join(os.path.dirname(__file__), "init.sh"), f"{root}/init")
    ours = [os.path.abspath(f"{binaries}/{name}") for name in OURS + BENCHES * bench]
    for program in ours:
        output_of("strip", "-g", "-o", f"{root}/tarnis/{os.path.basename(program)}", program)
    tools = [shutil.which(name) for name in TOOLS + RIVALS * bench]
    for tool in tools:
        shutil.copy(tool, f"{root}/bin")
    for library in set(re.findall(r"(/\S+) \(0x", output_of("ldd", *ours, *tools[1:]))) - set(ours):
        os.makedirs(root + os.path.dirname(library), exist_ok=True)
        shutil.copy(library, root + library)
    for number, module in enumerate(load_order(kernel)):
        shutil.copy(module, f"{root}/modules/{number:02}.ko")
    pack = ["cpio", "-o", "-H", "newc", "-R", "0:0", "--quiet", "-F", target]
    output_of(*pack, cwd=root, input=output_of("find", ".", cwd=root))


def drive_options(disks, foreign, images):
    options = ["-device", "ich9-ahci,id=more", "-device", "virtio-scsi-pci,id=other"]
    for number, disk in enumerate([*disks, foreign]):
        options += ["-drive", f"file={images[number]},format=raw,if=none,id=d{number}", "-device"]
        device = f"drive=d{number},serial={disk.serial},rotation_rate={disk.rotation}"
        if disk is foreign:
            options.append(f"scsi-hd,{device},bus=other.0")
        else:
            bus = ("ide" if number < PORTS else "more") + f".{number % PORTS}"
            wwn = 0x5000C500 << 32 | number
            options.append(f"ide-hd,{device},bus={bus},model={disk.model},ver=F{number}.7,wwn={wwn}")
    return options


# Boots the guest and waits for its end, which must come in time.
def run(kernel, initramfs, drives, share, console, words, processors, seconds):
    words += " console=ttyS0 quiet mitigations=off tsc=reliable no_timer_check panic=-1"
    command = ["qemu-system-x86_64", "-M", "q35", *processors]
    command += ["-m", "1024", "-nodefaults", "-display", "none", "-no-reboot", "-serial", f"file:{console}"]
    command += ["-kernel", glob.glob(f"{kernel}/boot/vmlinuz-*")[0], "-initrd", initramfs, "-append", words]
    command += ["-virtfs", f"local,path={share},mount_tag=share,security_model=none", *drives]
    subprocess.run(command, stdin=subprocess.DEVNULL, check=True, timeout=seconds)
