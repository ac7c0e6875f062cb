#!/usr/bin/env bash
# The Android archive: everything is where Android's tools look for it, and a C program builds against its headers
# and library and runs.
#
#   archive.sh JAR_TOOL ARCHIVE.aar ABI WORK_DIR
set -euo pipefail
jar=$1 archive=$2 abi=$3 work=$4
rm -rf "$work"
mkdir -p "$work"
cd "$work"
"$jar" xf "$archive"
module=prefab/modules/Vask
for file in AndroidManifest.xml R.txt "jni/$abi/libVask.so" $module/include/vask/vask.h; do
  [ -e "$file" ] || { echo "missing: $file"; exit 1; }
done
for class in Vask VaskStream; do "$jar" tf classes.jar | grep -qx com/norv/Brindle/$class.class; done
for rule in Vask VaskStreamLibrary; do grep -q "^-keep class com.norv.Brindle.$rule {" proguard.txt; done
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
cat > program.c << 'END'
#include <vask/vask.h>
int main(void) { return android_init_frontend(".", 2) == 1 ? 0 : 1; }
END
ln -s libVask.so "$module/libs/android.$abi/libVask.so.0" # the name by which this machine's loader looks for it
"${CC:-cc}" -std=c11 -I$module/include program.c -o program -L"$module/libs/android.$abi" -lVask \
  -Wl,-rpath,"$PWD/$module/libs/android.$abi"
./program 2> program.log
cmp "jni/$abi/libVask.so" "$module/libs/android.$abi/libVask.so"
