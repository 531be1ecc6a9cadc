# Sourced by the build, test and benchmark scripts: install_missing PKG ...
# installs the Debian packages that are not installed yet (apt-get update
# first), as root or through sudo.
install_missing() {
  local missing=() pkg
  for pkg in "$@"; do
    dpkg -s "$pkg" >/dev/null 2>&1 || missing+=("$pkg")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  local sudo=
  [ "$(id -u)" -ne 0 ] && sudo=sudo
  echo "installing: ${missing[*]}"
  $sudo apt-get update -qq >/dev/null
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}" >/dev/null
}
