#!/usr/bin/env bash
# The Android archive: everything is where Android's tools look for it, in at most so many bytes, and for this machine's
# ABI a C program builds against its headers and library and runs.
#
#   archive.sh ARCHIVE.aar WORK_DIR MOST_BYTES ABI...
set -euo pipefail
archive=$(realpath "$1") work=$2 most=$3
shift 3
rm -rf "$work"
mkdir -p "$work"
bytes=$(stat -c %s "$archive")
echo "$bytes bytes, at most $most, for $*"
[ "$bytes" -le "$most" ]
cd "$work"
cmake -E tar xf "$archive"
cmake -E tar tf classes.jar > classes.list
for class in Vask VaskStream; do grep -qx com/norv/Brindle/$class.class classes.list; done
for rule in Vask VaskStreamLibrary; do grep -q "^-keep class com.norv.Brindle.$rule {" proguard.txt; done
module=prefab/modules/Vask
for file in AndroidManifest.xml R.txt $module/include/vask/{vask.h,stream.hpp}; do
  [ -e "$file" ] || { echo "missing: $file"; exit 1; }
done
[ "$(cd jni && echo *)" = "$(printf '%s\n' "$@" | LC_ALL=C sort | xargs)" ]
for abi in "$@"; do
  cmp "jni/$abi/libVask.so" "$module/libs/android.$abi/libVask.so"
  if readelf -S "jni/$abi/libVask.so" | grep -E '\.(symtab|debug_info)'; then exit 1; fi # stripped
  readelf -Ws --dyn-syms "jni/$abi/libVask.so" | grep ' Java_com_norv_Brindle_VaskStreamLibrary_open@@VASK_0$' > symbols
  python3 - "$abi" << 'END'
import json, sys, xml.etree.ElementTree as xml
abi = sys.argv[1]
read = lambda name: json.load(open("prefab/" + name))
prefab, module, library = (read(name) for name in (
    "prefab.json", "modules/Vask/module.json", "modules/Vask/libs/android.%s/abi.json" % abi))
assert prefab["schema_version"] == 2 and prefab["name"] == "vask", prefab
assert module["library_name"] == "libVask" and module["export_libraries"] == [], module
assert library["abi"] == abi and library["api"] == 21 and library["stl"] == "none", library
manifest = xml.parse("AndroidManifest.xml").getroot()
assert manifest.tag == "manifest" and manifest.get("package") == "com.norv.Brindle"
END
done
libs="$module/libs/android.$(uname -m)"
[ -d "$libs" ] || exit 0
cat > program.c << 'END'
#include <vask/vask.h>
int main(void) { return android_init_frontend(".", 2) == 1 ? 0 : 1; }
END
ln -s libVask.so "$libs/libVask.so.0" # the name by which this machine's loader looks for it
"${CC:-cc}" -std=c11 -I$module/include program.c -o program -L"$libs" -lVask -Wl,-rpath,"$PWD/$libs"
./program 2> program.log
