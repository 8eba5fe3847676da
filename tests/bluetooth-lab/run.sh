#!/bin/bash
# run.sh [OPTIONS] COMMAND [ARG...]
# Boots a small virtual machine that sees this machine's root (read-only, with
# a throw-away overlay), with Bluetooth LE adapters, bluetoothd and uinput, and
# runs COMMAND in it.
set -u
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
cache=${BLE_LAB_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/ble-lab}
limit=120 radio=vradio scene=$here/default.scene mem=1024 cpus=1 keep= verbose=
btd=
shares=() envs=()
die() { echo "ble-lab: $*" >&2; exit 125; }
usage() {
    cat >&2 <<U
usage: run.sh [options] COMMAND [ARG...]
  -t SEC     give up after SEC seconds of real time (default $limit; status 124)
  -r RADIO   vradio (default), btvirt, vradio+btvirt, or none (no Bluetooth)
  -s FILE    vradio lines to start with (default: default.scene)
  -w DIR     share this existing directory read-write (may be repeated)
  -e NAME[=VALUE]  pass an environment variable (may be repeated)
  -d ARGS    further arguments for bluetoothd (for example -d -d)
  -m MIB     guest memory (default $mem)     -c N  virtual CPUs (default $cpus)
  -k DIR     keep the guest's logs in DIR    -v    say when the lab is ready
U
    exit 125
}
while getopts t:r:s:w:e:d:m:c:k:vh o; do
    case $o in
    t) limit=$OPTARG;; r) radio=$OPTARG;; s) scene=$OPTARG;;
    w) shares+=("$(cd "$OPTARG" && pwd)") || die "no directory $OPTARG";;
    e) envs+=("$OPTARG");; d) btd="$btd $OPTARG";; m) mem=$OPTARG;; c) cpus=$OPTARG;;
    k) mkdir -p "$OPTARG" && keep=$(cd "$OPTARG" && pwd) || die "cannot make $OPTARG";;
    v) verbose=1;; *) usage;;
    esac
done
shift $((OPTIND - 1))
[ $# -gt 0 ] || usage
[ -r "$scene" ] || die "no scene file $scene"
[ "$mem" -ge 256 ] || die "the guest needs at least 256 MiB"
for t in qemu-system-x86_64 busybox modprobe depmod xz gcc dbus-daemon dbus-send; do
    PATH=$PATH:/usr/sbin:/sbin command -v $t > /dev/null || die "$t is missing; see packages/bluetooth.txt"
done
[ -x /usr/libexec/bluetooth/bluetoothd ] || die "bluez is missing; see packages/bluetooth.txt"

# ---- kernel and initramfs, made once and kept in the cache ----
build() {
    export PATH=$PATH:/usr/sbin:/sbin
    local sum kver tmp z ss off len m
    sum=$(cat "$here"/run.sh "$here"/guest/* | cksum)
    [ "$(cat "$cache/sum" 2>/dev/null)" = "$sum" ] && [ -s "$cache/initrd" ] && return 0
    echo "ble-lab: preparing kernel and initramfs in $cache" >&2
    if [ ! -s "$cache/vmlinux" ]; then
        local pkg
        pkg=$(apt-cache depends linux-image-amd64 2>/dev/null |
            awk '$1 == "Depends:" && $2 ~ /^linux-image-[0-9]/ { print $2; exit }')
        [ -n "$pkg" ] || die "no linux-image-amd64 in the package lists"
        tmp=$(mktemp -d "$cache/k.XXXXXX") || die "cannot write in $cache"
        (cd "$tmp" && apt-get -qq download "$pkg" 2>/dev/null && dpkg -x ./*.deb .) ||
            die "cannot download $pkg"
        rm -rf "$cache/modules"
        mv "$tmp"/lib/modules "$cache/modules" 2>/dev/null ||
            mv "$tmp"/usr/lib/modules "$cache/modules" || die "no modules in $pkg"
        for m in "$cache"/modules/*/kernel/{sound,drivers/*}; do
            case $m in
            */drivers/bluetooth | */drivers/char | */drivers/hid | */drivers/input) ;;
            */drivers/tty | */drivers/virtio | */drivers/block | */drivers/usb) ;;
            *) rm -rf "$m";;
            esac
        done
        # The kernel proper starts seconds sooner than its compressed wrapper.
        z=$(echo "$tmp"/boot/vmlinuz-*)
        ss=$(($(od -An -tu1 -j497 -N1 "$z")))
        off=$(($(od -An -tu4 -j584 -N4 "$z"))) len=$(($(od -An -tu4 -j588 -N4 "$z")))
        tail -c +$(((ss + 1) * 512 + off + 1)) "$z" | head -c $len |
            xz --single-stream -dc > "$tmp/vmlinux" 2>/dev/null
        [ "$(head -c 4 "$tmp/vmlinux" | tail -c 3)" = ELF ] || cp "$z" "$tmp/vmlinux"
        mv "$tmp/vmlinux" "$cache/vmlinux"
        rm -rf "$tmp"
    fi
    kver=$(ls "$cache/modules" | head -1)
    tmp=$(mktemp -d "$cache/i.XXXXXX") || die "cannot write in $cache"
    mkdir -p "$tmp/deps/lib" "$tmp"/r/{bin,mod,proc,sys,dev}
    ln -s "$cache/modules" "$tmp/deps/lib/modules"
    [ -s "$cache/modules/$kver/modules.dep" ] || depmod -b "$tmp/deps" "$kver" || die "depmod failed"
    for m in virtio_pci 9pnet_virtio 9p overlay virtio_console \
        hci_vhci ecb cmac uinput evdev uhid; do
        modprobe -d "$tmp/deps" -S "$kver" --show-depends $m || die "no module $m in $kver"
    done | awk '$1 == "insmod" && !s[$2]++ { print $2 }' > "$tmp/list"
    while read -r m; do
        case $m in
        *.xz) xz -dc "$m" > "$tmp/r/mod/$(basename "$m" .xz)";;
        *) cp "$m" "$tmp/r/mod/";;
        esac
        basename "$m" .xz >> "$tmp/r/mod/list"
    done < "$tmp/list"
    cp "$(command -v busybox)" "$tmp/r/bin/busybox"
    gcc -O2 -static -o "$tmp/r/vradio" "$here"/guest/*.c || die "vradio does not build"
    cp "$here/guest/start.sh" "$tmp/r/start.sh"
    cp "$here/guest/init" "$tmp/r/init"
    chmod +x "$tmp/r/init"
    (cd "$tmp/r" && find . | busybox cpio -o -H newc 2>/dev/null) > "$tmp/initrd" || die "no initramfs"
    mv "$tmp/initrd" "$cache/initrd"
    echo "$sum" > "$cache/sum"
    rm -rf "$tmp"
}
mkdir -p "$cache" || die "cannot make $cache"
cache=$(cd "$cache" && pwd)
exec 9> "$cache/lock"
flock 9
build
exec 9>&-

# ---- what the guest needs to know ----
ctl=$(mktemp -d "${TMPDIR:-/tmp}/ble-lab.XXXXXX") || die "no temporary directory"
trap 'rm -rf "$ctl"' EXIT
{
    echo "cd $(printf %q "$PWD") || exit 125"
    for v in PATH HOME USER LANG LC_ALL TERM; do
        [ -n "${!v-}" ] && printf 'export %s=%q\n' $v "${!v}"
    done
    for v in "${envs[@]}"; do
        case $v in
        *=*) printf 'export %s=%q\n' "${v%%=*}" "${v#*=}";;
        *) [ -n "${!v+x}" ] && printf 'export %s=%q\n' "$v" "${!v}";;
        esac
    done
    printf 'exec'
    printf ' %q' "$@"
    echo
} > "$ctl/cmd"
printf 'LAB_RADIO=%q LAB_VERBOSE=%q LAB_BLUETOOTHD=%q\n' "$radio" "$verbose" "$btd" > "$ctl/env"
cp "$scene" "$ctl/scene"
echo >> "$ctl/scene"
echo "$cache/modules" > "$ctl/modules"
[ -n "$keep" ] && shares+=("$keep") && echo "$keep" > "$ctl/keep"
: > "$ctl/shares"
disks=()
i=0
for d in "${shares[@]}"; do
    case $d in *,*) die "no comma allowed in the name of a shared directory";; esac
    echo "$d" >> "$ctl/shares"
    disks+=(-fsdev "local,id=rw$i,path=$d,security_model=none,multidevs=remap"
        -device "virtio-9p-pci,fsdev=rw$i,mount_tag=rw$i")
    i=$((i + 1))
done
[ $i -le 4 ] || die "at most four shared directories"
mkfifo "$ctl/out" "$ctl/err"
cat "$ctl/out" & c1=$!
cat "$ctl/err" >&2 & c2=$!

vm=
trap '[ -n "$vm" ] && kill "$vm" 2>/dev/null; exit 125' INT TERM HUP
timeout -k 5 "$limit" qemu-system-x86_64 -M pc,i8042=off,usb=off \
    -accel tcg -cpu max,la57=off -smp "$cpus" -m "$mem" \
    -nodefaults -no-user-config -display none -no-reboot -monitor none \
    -kernel "$cache/vmlinux" -initrd "$cache/initrd" \
    -append "console=ttyS0 quiet panic=-1 reboot=t mitigations=off nokaslr cryptomgr.notests no_timer_check" \
    -serial "file:$ctl/console" \
    -fsdev "local,id=root,path=/,security_model=none,readonly=on,multidevs=remap" \
    -device virtio-9p-pci,fsdev=root,mount_tag=hostroot \
    -fsdev "local,id=ctl,path=$ctl,security_model=none" \
    -device virtio-9p-pci,fsdev=ctl,mount_tag=labctl \
    "${disks[@]}" \
    -device virtio-serial-pci \
    -chardev "file,id=o,path=$ctl/out" -device virtserialport,chardev=o,name=lab.out \
    -chardev "file,id=e,path=$ctl/err" -device virtserialport,chardev=e,name=lab.err \
    < /dev/null > "$ctl/qemu" 2>&1 &
vm=$!
wait $vm
rc=$?
: 7<> "$ctl/out" 8<> "$ctl/err"         # lets the readers go if qemu never came
wait $c1 $c2
if [ -s "$ctl/status" ]; then
    exit "$(cat "$ctl/status")"
elif [ $rc = 124 ] || [ $rc = 137 ]; then
    echo "ble-lab: stopped after $limit s" >&2
    exit 124
fi
echo "ble-lab: the virtual machine ended without a status (qemu $rc)" >&2
cat "$ctl/qemu" "$ctl/console" >&2
exit 125
