# Sourced by ./tavrin after set-up: what reviewers would say. Changes nothing; "./tavrin check --fix" formats.

build release all headers_alone
faults=0
step() {
  local name=$1 log
  shift
  log=$(mktemp "${TMPDIR:-/tmp}/tavrin-check.XXXXXX")
  if "$@" >"$log" 2>&1; then say "ok      $name"; else faults=$((faults + 1)); say "FAULT   $name"; head -n 60 "$log" >&2; fi
  rm -f "$log"
}
mapfile -t sources < <(git ls-files -co --exclude-standard '*.cpp' '*.h')
mapfile -t units < <(git ls-files -co --exclude-standard 'src/*.cpp' 'tools/*.cpp' 'tests/*.cpp' | grep -v '^tests/fuzz/')

no_foreign_places() {
  # No folder of somebody's machine, no address beyond this one; ".example" is nobody's. The name space of vector pictures
  # looks like one.
  ! { git grep -nIE '(^|[^a-z/.])/(root|work|var/tmp)/' -- . ':!tests/check.sh'
      git grep -nIE 'https?://' -- . ':!LICENSE' ':!tests/check.sh' ':!*.svg' |
        sed -E 's#https?://(127\.0\.0\.1|localhost|[^"/ ]* ?example)##g' | grep -E 'https?://[a-z0-9]'; } | grep .
}
short_files() {
  ! wc -l "${sources[@]}" | awk '$2 != "total" && $1 > 700 { print; found = 1 } END { exit !found }'
}

[ "${1:-}" != --fix ] || clang-format-19 -i "${sources[@]}"
step "format" clang-format-19 --dry-run -Werror "${sources[@]}"
step "edges between folders" python3 tests/edges.py
step "duplicate blocks" python3 tests/duplicates.py
step "no path or host of one machine" no_foreign_places
step "no file that is too long" short_files
step "clang-tidy" python3 tests/tidy.py build/release "${units[@]}"
[ "$faults" = 0 ] || die "$faults faults"
say "all clean"
