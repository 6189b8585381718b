#!/usr/bin/env bash
# Runs every test: the x86-64 release build, a build under AddressSanitizer
# and UndefinedBehaviorSanitizer, the i686 build under qemu-i386, and each
# path on an emulated processor that has exactly its features.
#
#   tools/test.sh            all of it
#   tools/test.sh quick      the x86-64 release build only
set -uo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc)
passed=0 failed=0
declare -a failures

stage() {
  local name=$1
  shift
  echo "=== $name"
  local start=$SECONDS
  if "$@"; then
    passed=$((passed + 1))
    echo "=== $name: ok ($((SECONDS - start)) s)"
  else
    failed=$((failed + 1))
    failures+=("$name")
    echo "=== $name: FAILED ($((SECONDS - start)) s)"
  fi
}

build_and_test() {
  local dir=$1
  shift
  cmake -S . -B "$dir" -G Ninja "$@" > /dev/null &&
    ninja -C "$dir" -j "$jobs" > "$dir/build-output.log" 2>&1 || { tail -40 "$dir/build-output.log"; return 1; }
  ctest --test-dir "$dir" --output-on-failure -j "$jobs"
}

stage "x86-64 release" build_and_test build -DCMAKE_BUILD_TYPE=Release -DVEXO_CHECK_ITERATIONS=300
stage "install, then link from C99" sh tests/install/run.sh build
if [ "${1:-}" != quick ]; then
  stage "x86-64 sanitizers" build_and_test build-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVEXO_SANITIZE=ON
  stage "i686 under qemu-i386" build_and_test build-i686 -DCMAKE_BUILD_TYPE=Release -DVEXO_I686=ON \
    -DVEXO_TEST_EMULATOR=qemu-i386 -DVEXO_CHECK_ITERATIONS=40
  stage "each path on its own emulated processor" bash tools/emulate.sh build build-i686
  if [ -x fuzz/run.sh ]; then
    stage "fuzzing" fuzz/run.sh "${VEXO_FUZZ_SECONDS:-60}"
  fi
fi

[ $failed -gt 0 ] && printf 'failed stage: %s\n' "${failures[@]}"
echo "stages: $passed passed, $failed failed"
[ $failed -eq 0 ]
