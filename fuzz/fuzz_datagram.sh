#!/usr/bin/env bash
# Builds fuzz_datagram with clang and libFuzzer and runs it for SECONDS (default 30).
# Seeds are made fresh each time; a crash leaves its input in the build folder.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${PINBOARD_FUZZ_BUILD_DIR:-$root/build-fuzz-datagram}"
seconds="${1:-30}"
flags="-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer"
CC=clang CXX=clang++ cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DBUILD_TESTING=OFF -DPINBOARD_FUZZ=ON -DCMAKE_CXX_FLAGS="$flags" >/dev/null
cmake --build "$build" -j"$(nproc)" --target fuzz_datagram >/dev/null
corpus="$build/corpus-datagram"
mkdir -p "$corpus"
printf '\x0a\x4d\x00\x02\xffbob\t1.0.0' >"$corpus/start"
printf '\x0a\x4d\x00\x02\x01' >"$corpus/logout"
printf '\x0a\x4d\x00\x02\x0aname                            text' >"$corpus/confirm"
printf '\x0a\x4d\x00\x02\xfdname         hello' >"$corpus/chat"
cd "$build"
./fuzz_datagram -max_total_time="$seconds" -max_len=3100 -print_final_stats=1 "$corpus"
