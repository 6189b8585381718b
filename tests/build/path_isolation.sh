#!/bin/sh
# An inline function or template that two path objects both define becomes
# one weak symbol, and the linker keeps one body for all paths: an AVX2 body
# could then run on a processor without AVX2. Every weak (or unique) symbol a
# path object defines must therefore live in that path's namespace.
# Arguments: path=obj1:obj2:... for each path.
status=0
for arg in "$@"; do
  path=${arg%%=*}
  objs=$(echo "${arg#*=}" | tr ':' ' ')
  bad=$(nm -C --defined-only $objs 2>/dev/null | awk -v ns="vexo::$path::" '
    NF >= 3 && $2 ~ /^[WwVvu]$/ {
      name = $0; sub(/^[^ ]* [^ ]* /, "", name)
      if (index(name, ns) != 1 && index(name, "(anonymous namespace)") == 0 && name !~ /^\./) print name
    }' | sort -u)
  if [ -n "$bad" ]; then
    echo "path $path defines shared weak symbols outside vexo::$path::"
    echo "$bad" | head -20
    status=1
  fi
done
[ $status -eq 0 ] && echo "path objects keep their weak symbols in their own namespaces"
exit $status
