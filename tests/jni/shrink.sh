#!/usr/bin/env bash
# Shrink a small application with ProGuard: with the rules that an archive carries it runs and the
# classes with native methods keep their names and all of these methods; without them it does not run.
#
#   shrink.sh JAVA_BIN_DIR VASK.jar ARCHIVE.aar LIBRARY_DIR WORK_DIR
set -euo pipefail
bin=$1 vask=$2 archive=$3 libraries=$4 work=$5
here=$(cd "$(dirname "$0")" && pwd)
rm -rf "$work"
mkdir -p "$work/classes" "$work/archive"
cd "$work"
(cd archive && "$bin/jar" xf "$archive" proguard.txt classes.jar)
"$bin/javac" --release 8 -Xlint:-options -cp archive/classes.jar -d classes "$here/shrunk/Application.java"

# ProGuard does not read the classes of a newer JDK. Those of Java 8, without code, are in the archive by which javac
# compiles for it, in folders whose names list the releases; only their version is that of the JDK.
python3 - "$bin/../lib/ct.sym" library.jar << 'END'
import sys, zipfile
with zipfile.ZipFile(sys.argv[1]) as signatures, zipfile.ZipFile(sys.argv[2], "w") as library:
    for name in signatures.namelist():
        releases, _, path = name.partition("/java.base/")
        if "8" in releases and path.endswith(".sig"):
            content = bytearray(signatures.read(name))
            content[6:8] = (52).to_bytes(2, "big")
            library.writestr(path[:-4] + ".class", bytes(content))
END

shrink() { # name, more rules
  cat > "$1.pro" << END
-injars classes
-injars archive/classes.jar(!META-INF/**)
-outjars $1.jar
-libraryjars library.jar
-dontnote
-keep class shrunk.Application { public static void main(java.lang.String[]); }
END
  [ -z "$2" ] || cat "$2" >> "$1.pro"
  proguard "@$1.pro" > "$1.log" || { cat "$1.log"; exit 1; }
}
run() { "$bin/java" -Djava.library.path="$libraries" -cp "$1.jar" shrunk.Application 2>&1 | tee "$1.out"; }

shrink kept archive/proguard.txt
run kept
grep -qx heard kept.out
grep -q "^started " kept.out
methods() { "$bin/javap" -p -cp "$1" com.norv.Brindle.{Vask,VaskStreamLibrary} | grep native; }
if [ "$(methods kept.jar)" != "$(methods "$vask")" ]; then
  echo "the shrunk classes lack methods"
  exit 1
fi
"$bin/jar" xf "$vask" META-INF/proguard/vask.pro
cmp META-INF/proguard/vask.pro archive/proguard.txt # the plain jar carries the same rules

shrink bare ""
run bare || true
if ! grep -q UnsatisfiedLinkError bare.out || "$bin/jar" tf bare.jar | grep -q com/norv/Brindle/Vask.class; then
  echo "without the rules the class survives as well: this test shows nothing"
  exit 1
fi
