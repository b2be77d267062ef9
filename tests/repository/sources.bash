# sources ROOT FIND-EXPRESSION...: the project's own files that match, one path relative to ROOT a line.
# Nothing here needs git or Python: a fresh machine has neither the owner's checkout nor an interpreter.
sources() {
  local root=$1
  shift
  (cd "$root" && find . \( -path ./build -o -path ./.git -o -path ./.state -o -path ./web/build -o -path ./web/dist \
    -o -name node_modules -o -name test-results \) -prune -o -type f \( "$@" \) -printf '%P\n' | LC_ALL=C sort)
}

# complain ...: one violation. verdict: passes if there was none.
violations=0
complain() {
  echo "$*"
  violations=$((violations + 1))
}
verdict() {
  [ $violations = 0 ] || echo "$violations found"
  [ $violations = 0 ]
}
