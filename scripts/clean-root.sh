# A clean Debian 12 in a folder, for scripts that try something as on a new machine. To be sourced.
#
#   make_clean_root FOLDER PACKAGES   sets it up, with further packages (comma-separated) from this machine's mirror
#   remove_clean_root                 removes it; the trap of the script that sources this calls it
#
# Needs root and debootstrap.

clean_root=
clean_root_mounts=()

# The first mirror that this machine uses, in either format of its source lists.
first_mirror() {
  local sources
  sources=$(cat /etc/apt/sources.list /etc/apt/sources.list.d/*.sources /etc/apt/sources.list.d/*.list 2> /dev/null || true)
  awk '
    $1 == "URIs:" && $2 ~ /\/debian\/?$/ { print $2; exit }
    $1 == "deb" { for (i = 2; i <= NF; ++i) if ($i ~ /\/debian\/?$/) { print $i; exit } }' <<< "$sources"
}

remove_clean_root() {
  local place
  [ -n "$clean_root" ] || return 0
  for place in "${clean_root_mounts[@]}"; do umount -l "$place" || true; done
  if [ ${#clean_root_mounts[@]} -eq 0 ] || ! grep -q " $clean_root/" /proc/mounts; then
    rm -rf --one-file-system "$clean_root"
  fi
}

make_clean_root() {
  local folder=$1 packages=$2 mirror place
  if [ "$(id -u)" -ne 0 ] || ! command -v debootstrap > /dev/null; then
    echo "This must run as root and needs debootstrap." >&2
    return 2
  fi
  mirror=$(first_mirror)
  if [ -z "$mirror" ]; then
    echo "This machine's source lists name no Debian mirror." >&2
    return 2
  fi
  if [ -d "$folder/etc" ]; then
    echo "$folder is already in use." >&2
    return 2
  fi
  clean_root=$folder
  mkdir -p "$folder"
  debootstrap --variant=minbase --include="$packages" bookworm "$folder" "$mirror" > "$folder.log" 2>&1 || {
    tail -n 20 "$folder.log"
    return 1
  }
  rm -f "$folder.log"
  cp /etc/resolv.conf "$folder/etc/resolv.conf" 2> /dev/null || true
  cp /etc/apt/apt.conf.d/*proxy* "$folder/etc/apt/apt.conf.d/" 2> /dev/null || true
  # npm trusts the certificates that this machine trusts.
  cp /etc/ssl/certs/ca-certificates.crt "$folder/etc/ssl/trusted.crt" 2> /dev/null || true
  for place in proc dev dev/pts dev/shm; do
    if mount --bind "/$place" "$folder/$place" 2> /dev/null; then
      clean_root_mounts=("$folder/$place" "${clean_root_mounts[@]}")
    fi
  done
}
