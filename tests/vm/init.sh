#!/bin/busybox sh
# The first process of the guest: brings it up, writes what is seen there to the share, and switches
# the guest off. It judges nothing.
/bin/busybox --install -s /usr/applets
export PATH=/tarnis:/bin:/usr/applets TARNIS_CONFIG_DIR=/etc/tarnis TARNIS_DATABASE=/tmp/tarnis.db
mount -t proc proc /proc
mount -t sysfs sys /sys
mount -t devtmpfs dev /dev
mount -t tmpfs tmp /tmp
for module in /modules/*; do insmod "$module"; done
mount -t 9p -o trans=virtio,version=9p2000.L,msize=262144 share /share

stop() {
    dmesg >/share/dmesg
    echo b >/proc/sysrq-trigger # at once; QEMU takes a restart for the end
    sleep 60
}
# await SECONDS COMMAND...: until the command succeeds; a guest that waits in vain ends.
await() {
    local rounds=$(($1 * 20))
    shift
    until "$@"; do
        usleep 50000
        rounds=$((rounds - 1))
        [ $rounds -gt 0 ] || { echo "never came: $*"; stop; }
    done
}
# keep NAME COMMAND...: what a command says and how it ends
keep() {
    local name=$1
    shift
    "$@" >"/share/$name.out" 2>"/share/$name.err"
    echo $? >"/share/$name.code"
}
ahci_disks() {
    for disk in /sys/block/sd*; do
        case $(readlink "$disk") in */ata*) echo "${disk##*/}" ;; esac
    done
}
blocks_are() { [ "$(ls -d /sys/class/block/sd* | wc -l)" -eq "$1" ]; }
serial_of() { echo $(tail -c +5 "/sys/block/$1/device/vpd_pg80" | tr -d '\0'); }
disk_of() {
    for name in $(ahci_disks); do
        [ "$(serial_of "$name")" = "$1" ] && echo "$name"
    done
}
see() {
    lsblk -J -b -O >"/share/lsblk-$1.json"
    for name in $(ahci_disks); do echo "$name $(serial_of "$name")"; done >"/share/disks-$1"
}

await 30 blocks_are "$blocks" # disks and partitions; a word of the kernel's command line
if [ "$task" = bench ]; then
    keep bench scan_bench
    # What a program writes shall be counted: to a disk that nobody watches.
    for disk in /sys/block/sd*; do
        case $(readlink "$disk") in */ata*) ;; *) other=${disk##*/} ;; esac
    done
    mkdir -p /var/lib
    mount -t ext4 "/dev/${other}1" /var/lib
    mkdir -p /var/lib/smartmontools /var/lib/tarnis
    export TARNIS_DATABASE=/var/lib/tarnis/tarnis.db
    keep rivals rival_bench $(ahci_disks | sed 's#^#/dev/#')
    : >/share/done
    stop
fi

# File systems in use: one mounted twice and in part, one in the file system of a whole disk.
gpt=$(disk_of PHDV7241014X240AGN-1)
dos=$(disk_of ZA10ABCD)
mkdir /mnt/first /mnt/second /mnt/part /mnt/esp "/mnt/old data" /mnt/whole
mount "/dev/${gpt}2" /mnt/first && mkdir /mnt/first/below
mount --bind /mnt/first/below /mnt/part
mount "/dev/${gpt}2" /mnt/second
mount -t vfat "/dev/${gpt}1" /mnt/esp
mount -o ro "/dev/${dos}5" "/mnt/old data"
mount "/dev/$(disk_of WHOLE-DISK-SERIAL-20)" /mnt/whole
swapon "/dev/${gpt}3"
see before
for name in $(ahci_disks); do smartctl -j -iA "/dev/$name" >"/share/smart-$name.json"; done
keep show tarnisctl show --json
cp /tmp/tarnis.db /share/show.db
keep people tarnisctl show
swapoff "/dev/${gpt}3"
umount -a -t ext4,vfat

# Rights: as a user of a group that may read the disks (6), or of none; with and without the
# capability. One disk may be read by all.
chgrp 6 /dev/sd* && chmod 640 /dev/sd*
chmod 644 "/dev/$(disk_of EMPTY-TABLE)"
as_user() {
    TARNIS_DATABASE=:memory: /bin/setpriv --reuid 1000 --regid "$1" --clear-groups --inh-caps="$2" \
        --ambient-caps="$2" /tarnis/tarnisctl show --json
}
keep allowed as_user 6 +sys_rawio
keep incapable as_user 6 -all
keep unreadable as_user 1000 +sys_rawio

# A disk that sleeps.
sleeper=/sys/block/$(disk_of SLEEPER)/device/power
echo 100 >"$sleeper/autosuspend_delay_ms"
echo auto >"$sleeper/control"
await 10 grep -q suspended "$sleeper/runtime_status"
keep asleep tarnisctl show --json
cat "$sleeper/runtime_status" >/share/asleep.status
echo on >"$sleeper/control"

# Ten rounds of five disks that go and come back.
tarnisctl set plugin POLL_INTERVAL 2 >/share/set.out
# A trace bit that no trace line has: it shows when the plug-in has started.
tarnisctl watch --json --trace-mask 0x40000000 >/share/events 2>/share/watch.err &
watch=$!
await 20 grep -q "adapter count" /share/watch.err
events_are() { [ "$(wc -l </share/events)" -ge "$1" ]; }
for round in 0 1 2 3 4 5 6 7 8 9; do
    set -- $(ahci_disks) $(ahci_disks)
    shift $((round * 5 % 12))
    hosts=
    for name in "$1" "$2" "$3" "$4" "$5"; do
        serial_of "$name" >>/share/moved
        hosts="$hosts $(readlink "/sys/block/$name" | sed 's#.*/host\([0-9]*\)/.*#\1#')"
        echo 1 >"/sys/block/$name/device/delete"
    done
    await 20 events_are $((round * 10 + 5))
    for host in $hosts; do echo '- - -' >"/sys/class/scsi_host/host$host/scan"; done
    await 20 events_are $((round * 10 + 10))
    for file in /proc/$watch/fd/*; do readlink "$file"; done | sort >"/share/files-$round"
done
await 20 blocks_are "$blocks"
sleep 4 # a pass or two: partitions may have come after their disk was seen
see after
kill -TERM $watch
wait $watch
echo $? >/share/watch.code
cp /tmp/tarnis.db /share/after.db
: >/share/done
stop
