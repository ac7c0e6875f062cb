#!/usr/bin/env bash
# Set up a clean Debian 12, clone this tree into it, and run ./demo.sh and ./test.sh there as a newcomer would.
#
#   scripts/check-fresh-clone.sh [FOLDER]
#
# Runs as root and needs debootstrap and git. FOLDER (a new temporary folder by default) is removed at the end. Packages
# come from this machine's own mirror. Only what is committed is tested.
set -euo pipefail
root_dir=$(cd "$(dirname "$0")/.." && pwd)
# shellcheck source=scripts/clean-root.sh
. "$root_dir/scripts/clean-root.sh"
trap remove_clean_root EXIT

target=${1:-$(mktemp -d)}
echo "== A clean Debian 12 in $target"
make_clean_root "$target" ca-certificates,git

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
