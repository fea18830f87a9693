#!/bin/sh
# Installs the Prefab package and builds a consumer with nothing but what is in its two modules.
# usage: prefab.sh BUILD_DIR CC READELF VERSION ABI
set -eu
build=$1 cc=$2 readelf=$3 version=$4 abi=$5
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

package=$work/package
cmake --install "$build" --prefix "$package" --component prefab >/dev/null
(cd "$package" && find . -type f ! -path '*/include/*' | LC_ALL=C sort) >"$work/files"
diff -u - "$work/files" <<END
./AndroidManifest.xml
./prefab/modules/static/libs/android.$abi/abi.json
./prefab/modules/static/libs/android.$abi/libtlux.a
./prefab/modules/static/module.json
./prefab/modules/tlux/libs/android.$abi/abi.json
./prefab/modules/tlux/libs/android.$abi/libtlux.so
./prefab/modules/tlux/module.json
./prefab/prefab.json
END

python3 - "$package" "$version" "$abi" <<'END'
import json, sys
from pathlib import Path
from xml.dom import minidom

root, version, abi = Path(sys.argv[1]), sys.argv[2], sys.argv[3]
minidom.parse(str(root / "AndroidManifest.xml"))
package = json.loads((root / "prefab/prefab.json").read_text())
assert package == {"schema_version": 2, "name": "tlux", "version": version, "dependencies": []}, package
for module, static in ("tlux", False), ("static", True):
    folder = root / "prefab/modules" / module
    about = json.loads((folder / "module.json").read_text())
    assert about == {"export_libraries": [], "library_name": "libtlux"}, about
    binary = json.loads((folder / f"libs/android.{abi}/abi.json").read_text())
    assert (binary["abi"], binary["stl"], binary["static"]) == (abi, "none", static), binary
    assert isinstance(binary["api"], int) and isinstance(binary["ndk"], int), binary
END

for module in tlux static; do
  folder=$package/prefab/modules/$module
  "$cc" "$here/consumer/main.c" -I"$folder/include" "$folder/libs/android.$abi"/libtlux.* -lm -pthread -o "$work/$module"
done

# Devices with pages of 16 KiB load no library that is aligned for less.
if [ "$abi" = arm64-v8a ]; then
  "$readelf" -lW "$package/prefab/modules/tlux/libs/android.$abi/libtlux.so" |
    awk '$1 == "LOAD" { ++n; if ($NF !~ /^0x(4|8|10)000$/) bad = 1 } END { exit bad || n < 2 }' ||
    { echo "a segment is not aligned to 16 KiB" >&2; exit 1; }
fi
