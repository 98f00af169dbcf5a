# Sourced by ./run and ./test: installs what is missing on Debian 12 and builds a preset.
# Installs with apt as root or through sudo; where neither is possible it says what to install and stops.

# need PACKAGE...: installs those that dpkg does not know as installed.
need() {
  local missing=() package
  for package in "$@"; do
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    if command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
      as_root=(sudo -n)
    elif command -v sudo >/dev/null && [ -t 0 ]; then
      as_root=(sudo)
    else
      echo "These packages are missing, and installing them needs root:" >&2
      echo "  apt-get install ${missing[*]}" >&2
      return 1
    fi
  fi
  echo "Installing ${missing[*]}"
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq &&
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

build_packages=(g++ cmake ninja-build libboost-dev libcli11-dev libedit-dev libtirpc-dev rpcsvc-proto libgtest-dev libbenchmark-dev)
debian_packages=(debhelper dh-python fakeroot git lintian pybuild-plugin-pyproject python3-all python3-setuptools)

# build PRESET [TARGET...]: configures, then builds. Says every 15 seconds how far it is; shows the errors when it fails.
build() {
  local preset=$1 log line start=$SECONDS next=15
  shift
  log=$(mktemp)
  # A cache made in another place (a copied or moved checkout) is of no use to cmake.
  if [ -f "build/$preset/CMakeCache.txt" ] && ! grep -q "CMAKE_HOME_DIRECTORY:INTERNAL=$PWD\$" "build/$preset/CMakeCache.txt"; then
    rm -rf "build/$preset"
  fi
  while IFS= read -r line; do
    if [[ $line =~ ^\[([0-9]+)/([0-9]+)\] ]]; then
      if [ $((SECONDS - start)) -ge $next ]; then
        echo "   ${BASH_REMATCH[1]} of ${BASH_REMATCH[2]} steps after $((SECONDS - start)) s"
        next=$((SECONDS - start + 15))
      fi
    else
      printf '%s\n' "$line" >>"$log"
    fi
  done < <(cmake --preset "$preset" 2>&1 && NINJA_STATUS='[%f/%t] ' cmake --build --preset "$preset" ${1:+--target "$@"} 2>&1)
  if ! wait $!; then
    cat "$log" >&2
    rm -f "$log"
    return 1
  fi
  rm -f "$log"
}
