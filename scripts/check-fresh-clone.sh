#!/usr/bin/env bash
# Set up a clean Debian 12, clone this tree into it, and run ./demo.sh and ./test.sh there as a newcomer would.
#
#   scripts/check-fresh-clone.sh [FOLDER]
#
# Runs as root and needs debootstrap and git. FOLDER (a new temporary folder by default) is removed at the end. Packages
# come from this machine's own mirror. Only what is committed is tested.
set -euo pipefail
root_dir=$(cd "$(dirname "$0")/.." && pwd)
suite=bookworm

if [ "$(id -u)" -ne 0 ] || ! command -v debootstrap > /dev/null; then
  echo "This must run as root and needs debootstrap." >&2
  exit 2
fi
# The first mirror that this machine uses, in either format of its source lists.
sources=$(cat /etc/apt/sources.list /etc/apt/sources.list.d/*.sources /etc/apt/sources.list.d/*.list 2> /dev/null || true)
mirror=$(awk '
  $1 == "URIs:" && $2 ~ /\/debian\/?$/ { print $2; exit }
  $1 == "deb" { for (i = 2; i <= NF; ++i) if ($i ~ /\/debian\/?$/) { print $i; exit } }' <<< "$sources")
if [ -z "$mirror" ]; then
  echo "This machine's source lists name no Debian mirror." >&2
  exit 2
fi

target=${1:-$(mktemp -d)}
if [ -d "$target/etc" ]; then
  echo "$target is already in use." >&2
  exit 2
fi
mounted=()
cleanup() {
  local place
  for place in "${mounted[@]}"; do umount -l "$place" || true; done
  if [ ${#mounted[@]} -eq 0 ] || ! grep -q " $target/" /proc/mounts; then rm -rf --one-file-system "$target"; fi
}
trap cleanup EXIT

echo "== A clean Debian 12 in $target"
mkdir -p "$target"
debootstrap --variant=minbase --include=ca-certificates,git "$suite" "$target" "$mirror" > "$target.log" 2>&1 || {
  tail -n 20 "$target.log"
  exit 1
}
rm -f "$target.log"
cp /etc/resolv.conf "$target/etc/resolv.conf" 2> /dev/null || true
cp /etc/apt/apt.conf.d/*proxy* "$target/etc/apt/apt.conf.d/" 2> /dev/null || true
# npm trusts the certificates that this machine trusts.
cp /etc/ssl/certs/ca-certificates.crt "$target/etc/ssl/trusted.crt" 2> /dev/null || true
for place in proc dev dev/pts dev/shm; do
  if mount --bind "/$place" "$target/$place" 2> /dev/null; then mounted=("$target/$place" "${mounted[@]}"); fi
done

echo "== A fresh clone"
git clone --quiet --no-local "$root_dir" "$target/root/libVask"

inside() {
  chroot "$target" /usr/bin/env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin \
    NODE_EXTRA_CA_CERTS=/etc/ssl/trusted.crt "$@"
}
result=0
for command in demo test; do
  echo "== ./$command.sh"
  begin=$SECONDS
  if inside sh -c "cd /root/libVask && ./$command.sh" < /dev/null; then
    echo "== ./$command.sh succeeded after $((SECONDS - begin)) s"
  else
    echo "== ./$command.sh FAILED after $((SECONDS - begin)) s"
    result=1
  fi
done
left=$(inside git -C /root/libVask status --porcelain)
if [ -n "$left" ]; then
  printf '== The commands left files that git does not ignore:\n%s\n' "$left"
  result=1
fi
[ $result -eq 0 ] && echo "== The fresh clone works" || echo "== The fresh clone does NOT work"
exit $result
