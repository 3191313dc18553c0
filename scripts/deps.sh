#!/usr/bin/env bash
# Installs the Debian packages the build, tests and demo need, where they are missing.
# Sourced by the other scripts; `orlix_install_deps` is its one entry.

ORLIX_PACKAGES=(
  cmake ninja-build g++ pkg-config
  libgtest-dev libgmock-dev libbenchmark-dev
  libopenimageio-dev openimageio-tools
  libembree-dev libtbb-dev
  libfreetype-dev fonts-dejavu-core
  nlohmann-json3-dev libcli11-dev libtinyobjloader-dev
  libcpp-httplib-dev
  zlib1g-dev libdeflate-dev libspng-dev
  weasyprint
)
# What the tests need beside the build: pdftotext and pdfimages look into the manual, exiftool
# reads the metadata of written pictures back, the studio is tried in a real browser, and a
# single-node Slurm cluster (its controller and node daemons, with munge for their
# authentication) runs the farm test.
ORLIX_TEST_PACKAGES=(
  poppler-utils
  libimage-exiftool-perl
  chromium chromium-driver python3-selenium
  slurm-wlm munge
)

orlix_install_deps() {
  local missing=()
  local pkg
  for pkg in "${ORLIX_PACKAGES[@]}" "$@"; do
    if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed"; then
      missing+=("$pkg")
    fi
  done
  if [ ${#missing[@]} -eq 0 ]; then
    return 0
  fi
  echo "Installing missing packages: ${missing[*]}"
  local sudo=""
  if [ "$(id -u)" -ne 0 ]; then
    if command -v sudo >/dev/null 2>&1; then
      sudo="sudo"
    else
      echo "error: these Debian packages are missing and this user cannot install them: ${missing[*]}" >&2
      echo "       run as root: apt-get install ${missing[*]}" >&2
      return 1
    fi
  fi
  $sudo apt-get update -qq || return 1
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" || return 1
}
