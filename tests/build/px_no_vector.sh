#!/bin/sh
# px runs on any x86: its objects may hold no MMX, SSE or AVX instruction.
objs=$(echo "$1" | tr ':' ' ')
hits=$(objdump -d --no-show-raw-insn $objs | grep -E '%(x|y|z)mm[0-9]|%mm[0-7]' | head -10)
if [ -n "$hits" ]; then
  echo "px objects hold vector instructions:"
  echo "$hits"
  exit 1
fi
echo "px objects hold no vector instructions"
