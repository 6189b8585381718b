#!/bin/sh
# The shared library exports exactly the listed calls, nothing else.
lib=$1 map=$2
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
sed -n 's/^ *\(vexo[A-Za-z0-9_]*\);$/\1/p' "$map" | sort > "$tmp/want"
nm -D --defined-only "$lib" | awk '$2 != "A" {print $3}' | sed 's/@.*//' | sort > "$tmp/have"
if ! diff "$tmp/want" "$tmp/have" > "$tmp/diff"; then
  echo "exported symbols differ from the list (< listed, > exported):"
  cat "$tmp/diff"
  exit 1
fi
echo "$(wc -l < "$tmp/have") exports, as listed"
