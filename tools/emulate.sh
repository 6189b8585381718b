#!/usr/bin/env bash
# Runs the tests on emulated processors that have exactly one path's
# features each. Our own machines have every level, so only this proves that
# no path uses an instruction above its level (one would fault here), and
# that the automatic choice lands where it should.
#
#   tools/emulate.sh BUILD_X86_64 [BUILD_I686]
set -uo pipefail
build64=${1:?usage: tools/emulate.sh BUILD_X86_64 [BUILD_I686]}
build32=${2:-}
iterations=${VEXO_EMULATE_ITERATIONS:-10}
passed=0 failed=0

# emulator, cpu model, build dir, expected path, expected banner
rows=(
  "qemu-x86_64|qemu64|$build64|w7|vexoVC SSE2 (w7)"
  "qemu-x86_64|core2duo|$build64|v8|vexoVC SSSE3 (v8)"
  "qemu-x86_64|core2duo,+movbe|$build64|s8|vexoVC Quil (s8)"
  "qemu-x86_64|Penryn|$build64|p8|vexoVC SSE4.1/4.2 (p8)"
  "qemu-x86_64|Nehalem|$build64|p8|vexoVC SSE4.1/4.2 (p8)+"
  "qemu-x86_64|SandyBridge|$build64|g9|vexoVC AVX (g9)"
  "qemu-x86_64|Haswell|$build64|h9|vexoVC AVX2 (h9)"
)
if [ -n "$build32" ]; then
  rows+=(
    "qemu-i386|pentium2|$build32|px|vexoVC PX (px)"
    "qemu-i386|pentium3|$build32|px|vexoVC PX (px)"
    "qemu-i386|coreduo|$build32|w7|vexoVC SSE2 (w7)"
  )
fi

for row in "${rows[@]}"; do
  IFS='|' read -r emu cpu dir want banner <<< "$row"
  run() { "$emu" -cpu "$cpu" "$@" 2> >(grep -v "TCG doesn't support" >&2); }
  problems=""
  info=$(run "$dir/vexovc" info) || problems+=" info-failed"
  echo "$info" | grep -q "^chosen path .*($want)$" || problems+=" chose-$(echo "$info" | sed -n 's/^chosen path *//p')"
  echo "$info" | grep -qxF "banner               $banner" || problems+=" banner"
  run "$dir/tests/vexovc_tests" --gtest_brief=1 > /tmp/vexo_emulate.$$ 2>&1 || problems+=" tests"
  run "$dir/vexovc" check --iterations "$iterations" --seed 1 >> /tmp/vexo_emulate.$$ 2>&1 || problems+=" check"
  if [ -z "$problems" ]; then
    echo "ok   $emu -cpu $cpu: $want"
    passed=$((passed + 1))
  else
    echo "FAIL $emu -cpu $cpu (want $want):$problems"
    tail -20 /tmp/vexo_emulate.$$
    failed=$((failed + 1))
  fi
  rm -f /tmp/vexo_emulate.$$
done
echo "emulation: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
