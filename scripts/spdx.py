#!/usr/bin/env python3
"""Write the SPDX 2.3 list of a release: its files with their sums, and what is linked into them.

    spdx.py FOLDER VERSION COMMAND    write it for the files in FOLDER; COMMAND is the program, not packed
    spdx.py --check FOLDER            compare the list in FOLDER with the files, and its references with each other

SOURCE_DATE_EPOCH is its time.
"""

import datetime
import hashlib
import json
import os
import re
import subprocess
import sys
from pathlib import Path

RUNTIME = "GPL-3.0-or-later WITH GCC-exception-3.1"
LLVM = "Apache-2.0 WITH LLVM-exception"
# Name, licence, how its version is found, and for shared libraries the name by which the program asks for them.
PACKAGES = [
    ("CLI11", "BSD-3-Clause", "pkg-config --modversion CLI11", None),
    ("nlohmann-json", "MIT", "pkg-config --modversion nlohmann_json", None),
    ("libstdc++", RUNTIME, "g++ -dumpfullversion", None),
    ("libgcc", RUNTIME, "gcc -dumpfullversion", None),
    ("libsndfile", "LGPL-2.1-or-later", "pkg-config --modversion sndfile", "libsndfile.so.1"),
    ("libsoxr", "LGPL-2.1-or-later", "pkg-config --modversion soxr", "libsoxr.so.0"),
    ("libopus", "BSD-3-Clause", "pkg-config --modversion opus", "libopus.so.0"),
    ("libogg", "BSD-3-Clause", "pkg-config --modversion ogg", "libogg.so.0"),
    ("zlib", "Zlib", "pkg-config --modversion zlib", "libz.so.1"),
    ("glibc", "LGPL-2.1-or-later", "getconf GNU_LIBC_VERSION", "libc.so.6"),
]
WEB_PACKAGES = [
    ("wasi-libc", f"MIT AND {LLVM}", "dpkg-query -W -f=${Version} wasi-libc"),
    ("compiler-rt", LLVM, "clang -dumpversion"),
]
OF_GLIBC = {"libm.so.6", "ld-linux-x86-64.so.2", "ld-linux-aarch64.so.1"}
OURS = "SPDXRef-libVask"


def fail(message):
    sys.exit(f"spdx: {message}")


def sums(file):
    contents = file.read_bytes()
    return [{"algorithm": name.upper(), "checksumValue": hashlib.new(name, contents).hexdigest()} for name in ("sha1", "sha256")]


def package(name, licence, command):
    words = subprocess.run(command.split(), capture_output=True, text=True).stdout.split()
    if not words:
        fail(f"the version of {name} is not to be had from: {command}")
    return {"SPDXID": "SPDXRef-" + name.replace("+", "p"), "name": name, "versionInfo": words[-1],
            "downloadLocation": "NOASSERTION", "filesAnalyzed": False, "licenseConcluded": "NOASSERTION",
            "licenseDeclared": licence, "copyrightText": "NOASSERTION"}


def relation(element, kind, related):
    return {"spdxElementId": element, "relationshipType": kind, "relatedSpdxElement": related}


def describe(folder, version, command):
    needed = set(re.findall(r"\(NEEDED\).*\[(.*)\]", subprocess.run(["readelf", "-dW", command], capture_output=True, text=True,
                                                                 check=True).stdout)) - OF_GLIBC
    if needed != {row[3] for row in PACKAGES if row[3]}:
        fail(f"{command} needs {' '.join(sorted(needed))}, which is not what the table of {__file__} says")
    packages = [{"SPDXID": OURS, "name": "libVask", "versionInfo": version, "downloadLocation": "NOASSERTION",
                 "filesAnalyzed": False, "licenseConcluded": "MIT", "licenseDeclared": "MIT",
                 "copyrightText": "Copyright (c) The libVask authors"}]
    relations, files = [relation("SPDXRef-DOCUMENT", "DESCRIBES", OURS)], []
    for file in sorted(folder.iterdir()):
        entry = {"SPDXID": f"SPDXRef-File-{file.name.replace('_', '-')}", "fileName": f"./{file.name}", "checksums": sums(file),
                 "licenseConcluded": "MIT", "copyrightText": "NOASSERTION"}
        if file.name == f"libvask-{version}.tar.gz":  # the sources, with samples/room.wav
            entry["licenseConcluded"] = "MIT AND CC-BY-SA-3.0"
        files.append(entry)
        relations.append(relation(OURS, "CONTAINS", entry["SPDXID"]))
        rows = PACKAGES if "-linux-" in file.name else []
        if file.suffix == ".tgz":
            rows = [(*row, None) for row in WEB_PACKAGES]
        for name, licence, ask, shared in rows:
            packages.append(package(name, licence, ask))
            relations.append(relation(entry["SPDXID"], "DYNAMIC_LINK" if shared else "STATIC_LINK", packages[-1]["SPDXID"]))
    created = datetime.datetime.fromtimestamp(int(os.environ["SOURCE_DATE_EPOCH"]), datetime.timezone.utc)
    whole = hashlib.sha256(json.dumps(files).encode()).hexdigest()
    document = {"spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT", "name": f"libVask-{version}",
                "documentNamespace": f"https://libvask.org/spdx/libVask-{version}-{whole}",
                "creationInfo": {"created": created.strftime("%Y-%m-%dT%H:%M:%SZ"), "creators": ["Tool: scripts/spdx.py"]},
                "packages": packages, "files": files, "relationships": relations}
    (folder / f"libvask-{version}.spdx.json").write_text(json.dumps(document, indent=1) + "\n")


def check(folder):
    listed, = folder.glob("*.spdx.json")
    document = json.loads(listed.read_text())
    identifiers = ["SPDXRef-DOCUMENT", *(entry["SPDXID"] for entry in document["packages"] + document["files"])]
    if len(set(identifiers)) < len(identifiers):
        fail(f"{listed} gives an identifier twice")
    for identifier in identifiers:
        if not re.fullmatch(r"SPDXRef-[A-Za-z0-9.-]+", identifier):
            fail(f"{listed} has an identifier with other characters than SPDX allows: {identifier}")
    for one in document["relationships"]:
        if not {one["spdxElementId"], one["relatedSpdxElement"]} <= set(identifiers):
            fail(f"{listed} relates what it does not list: {one}")
    for entry in document["files"]:
        if sums(folder / entry["fileName"]) != entry["checksums"]:
            fail(f"{listed} has other sums of {entry['fileName']}")
    there = {file.name for file in folder.iterdir()} - {listed.name, "SHA256SUMS", "SHA256SUMS.sig"}
    if there != {entry["fileName"][2:] for entry in document["files"]}:
        fail(f"{listed} lists other files than {' '.join(sorted(there))}")


if len(sys.argv) == 3 and sys.argv[1] == "--check":
    check(Path(sys.argv[2]))
elif len(sys.argv) == 4:
    describe(Path(sys.argv[1]), sys.argv[2], sys.argv[3])
else:
    sys.exit(__doc__)
