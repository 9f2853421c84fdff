#!/usr/bin/env bash
# Builds the WebAssembly module, the JavaScript package and the page, into build/web.
#   ./web.sh               builds
#   ./web.sh serve [PORT]  builds and shows the page on this machine
#   ./web.sh test          builds and runs every test of web/, in Node and in a browser
#   ./web.sh bench         builds and measures, for docs/web.md
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
source tools/packages.sh

usage() {
    sed -n '2,/^set /{s/^# \{0,1\}//p}' "$0"
}

build() {
    need_packages "${WEB_PACKAGES[@]}"
    # Configuring goes to a file: it says a lot about a system that it does not know.
    mkdir -p build/wasm
    if ! cmake --preset wasm >build/wasm/configure.log 2>&1; then
        cat build/wasm/configure.log >&2
        return 1
    fi
    cmake --build --preset wasm -- --quiet
    if [ ! -e web/node_modules/.package-lock.json ] || [ web/package-lock.json -nt web/node_modules/.package-lock.json ]; then
        echo "Installing what web/package-lock.json names"
        (cd web && npm ci --silent --ignore-scripts)
        touch web/node_modules/.package-lock.json
    fi
    cp build/wasm/zucharset.wasm web/zucharset.wasm # beside the sources, as in the package
    node web/tools/build.js build/wasm/zucharset.wasm build/web
    rm -f build/web/*.tgz
    npm pack --silent --pack-destination build/web ./build/web/package >/dev/null
}

serve() {
    local port=${1:-8080}
    echo "The page is at http://localhost:$port/ until you press Ctrl+C"
    exec python3 -m http.server --bind 127.0.0.1 --directory build/web/page "$port"
}

case ${1:-build} in
build) build ;;
serve)
    build
    serve "${2:-}"
    ;;
test)
    need_packages "${WEB_TEST_PACKAGES[@]}"
    build
    cd web
    npx --no-install eslint .
    npx --no-install tsc
    node --test --test-concurrency=1 test/
    ;;
bench)
    need_packages "${WEB_TEST_PACKAGES[@]}"
    build
    node web/tools/bench.js
    ;;
-h | --help) usage ;;
*)
    usage >&2
    exit 2
    ;;
esac
