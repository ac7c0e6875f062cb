#!/bin/sh
# The example of docs/environment-and-mfcc.md and `vask env` must give the same verdict on a recording.
#
#   example.sh EXAMPLE VASK WAV
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tail -c +45 "$3" > "$work/samples.raw"
says=$("$1" "$work/samples.raw")
wanted=$("$2" env "$3" | awk -F'\t' '{ printf "verdict %s, SNR %s dB, samples from %s to %s", $2, $5, $6, $7 }')
case $says in
  *" frames, $wanted") echo "$says" ;;
  *)
    echo "the example says: $says"
    echo "vask env says:    $wanted"
    exit 1
    ;;
esac
