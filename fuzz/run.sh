#!/bin/sh
# Builds the libFuzzer targets of the bit-stream readers with clang under
# AddressSanitizer and UndefinedBehaviorSanitizer, then runs each for SECONDS.
#
#   fuzz/run.sh SECONDS [BUILD_DIR]
#
# Each target links the px and h9 builds of the family sources (h9 runs only
# where the host has AVX2) and traps if the two disagree. The corpus of each
# target is kept in BUILD_DIR/corpus/<target> between runs. Exit status is
# non-zero if any target found a crash, a sanitizer report or a disagreement.
set -eu

seconds=${1:?usage: fuzz/run.sh SECONDS [BUILD_DIR]}
root=$(cd "$(dirname "$0")/.." && pwd)
out=${2:-$root/build-fuzz}
cxx=${CXX_FUZZ:-clang++}
mkdir -p "$out/obj" "$out/corpus"

common="-std=c++20 -O1 -g -fno-omit-frame-pointer -fsanitize=address,undefined -fno-sanitize-recover=undefined
        -I$root -I$root/include"

compile() {  # source object extra-flags...
    src=$1 obj=$2
    shift 2
    if [ ! -f "$obj" ] || [ "$root/$src" -nt "$obj" ] || [ "$root/core/exports.def" -nt "$obj" ]; then
        # shellcheck disable=SC2086
        $cxx $common "$@" -c "$root/$src" -o "$obj"
    fi
}

objects=""
for pathEntry in px:0: "h9:6:-mavx2 -mfma -mbmi -mbmi2"; do
    path=${pathEntry%%:*}
    rest=${pathEntry#*:}
    level=${rest%%:*}
    flags=${rest#*:}
    for src in core/services.cpp vlc/huffman.cpp mpeg2/reconstruct_dct.cpp; do
        obj="$out/obj/$path-$(echo "$src" | tr / _).o"
        # shellcheck disable=SC2086
        compile "$src" "$obj" -fsanitize=fuzzer-no-link -DVEXO_PATH=$path -DVEXO_LEVEL=$level $flags
        objects="$objects $obj"
    done
done
for src in core/memory.cpp core/cpu.cpp fuzz/frame_shim.cpp tests/support/mpeg_tables.cpp tests/support/bit_writer.cpp; do
    obj="$out/obj/$(echo "$src" | tr / _).o"
    compile "$src" "$obj"
    objects="$objects $obj"
done

status=0
for target in "$root"/fuzz/fuzz_*.cpp; do
    name=$(basename "$target" .cpp)
    compile "fuzz/$name.cpp" "$out/obj/$name.o" -fsanitize=fuzzer-no-link
    # shellcheck disable=SC2086
    $cxx $common -fsanitize=fuzzer "$out/obj/$name.o" $objects -o "$out/$name"
    mkdir -p "$out/corpus/$name"
    echo "== $name, $seconds s"
    if ! "$out/$name" -max_total_time="$seconds" -print_final_stats=1 -artifact_prefix="$out/$name-" \
            "$out/corpus/$name" 2>"$out/$name.log"; then
        status=1
        tail -n 40 "$out/$name.log"
    fi
    grep -E '^stat::number_of_executed_units|^stat::peak_rss_mb' "$out/$name.log" | sed "s/^/$name /"
done
exit $status
