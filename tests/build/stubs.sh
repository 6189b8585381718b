#!/bin/sh
# Every dispatched entry point is one load of dispatchIndex and one indirect
# jump (on x86-64 a lea forms the table's address between them: RIP-relative
# addressing takes no index register). No call, no branch, no stack.
lib=$1 map=$2 arch=$3
case $arch in
  x86_64) want="mov lea jmp" ;;
  *) want="mov jmp" ;;
esac
status=0 count=0
for name in $(sed -n 's/^ *\(vexo[A-Za-z0-9_]*\);$/\1/p' "$map"); do
  case $name in vexovcInit|vexovcSetNumThreads|vexovcGetNumThreads) continue ;; esac
  body=$(objdump -d --no-show-raw-insn --disassemble="$name" "$lib" | awk '/^ *[0-9a-f]+:\t/ {print}' )
  ops=$(echo "$body" | awk -F'\t' '{split($2, a, " "); print a[1]}' | sed 's/movslq/mov/; s/movl/mov/; s/leaq/lea/; s/jmpq/jmp/' | tr '\n' ' ' | sed 's/ *$//; s/ *\(nop\|xchg\|data16\|cs\)[a-z]*//g')
  ops=$(echo "$ops" | sed 's/ *$//')
  if [ "$ops" != "$want" ] || ! echo "$body" | head -1 | grep -q dispatchIndex && ! echo "$body" | grep -q 'jmp.*\*'; then
    echo "$name: '$ops'"
    echo "$body"
    status=1
  fi
  count=$((count + 1))
done
[ $status -eq 0 ] && echo "$count stubs: $want"
exit $status
