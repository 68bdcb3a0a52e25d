#!/bin/bash
# Installs the Debian packages that a command needs and that are not there yet.
#   tools/setup.sh run|test|bench
# Needs root or sudo, and the network, only when something is missing.
set -euo pipefail

run=(g++ cmake ninja-build default-jdk-headless librhino-java libluajit-5.1-dev libboost-filesystem-dev
     libboost-system-dev libpstreams-dev libutfcpp-dev libcli11-dev nlohmann-json3-dev libfccp-dev libmd-dev)
test=("${run[@]}" libgtest-dev libgmock-dev python3 luajit clang libclang-rt-dev)
bench=("${run[@]}" libbenchmark-dev libssl-dev python3 duktape mujs)
# node may have come from elsewhere, with an npm of its own.
command -v node >/dev/null || bench+=(nodejs)
command -v npm >/dev/null || bench+=(npm)

case "${1:-}" in
    run) packages=("${run[@]}") ;;
    test) packages=("${test[@]}") ;;
    bench) packages=("${bench[@]}") ;;
    *) echo "usage: tools/setup.sh run|test|bench" >&2; exit 2 ;;
esac

installed=$(dpkg-query -W -f='${db:Status-Status} ${Package}\n' "${packages[@]}" 2>/dev/null || true)
missing=()
for package in "${packages[@]}"; do
    grep -qx "installed $package" <<<"$installed" || missing+=("$package")
done
((${#missing[@]})) || exit 0

echo "installing: ${missing[*]}" >&2
as_root=()
if ((EUID != 0)); then
    command -v sudo >/dev/null || {
        echo "these packages are missing and need root to install: ${missing[*]}" >&2
        exit 2
    }
    as_root=(sudo)
fi
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { "${as_root[@]}" apt-get update &&
       "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"
     } >"$log" 2>&1; then
    cat "$log" >&2
    exit 2
fi
