#!/usr/bin/env bash
# Installs every build, test and benchmark dependency from Debian packages.
# Idempotent: packages already present are left as they are.
set -euo pipefail

packages=(
  build-essential g++ cmake ninja-build pkg-config git
  libopenblas-serial-dev libopenblas0-serial liblapacke-dev
  libfftw3-dev
  libmysofa-dev libmysofa-utils
  libsndfile1-dev
  libgtest-dev googletest libgmock-dev
  libbenchmark-dev
  libzita-convolver-dev
  lv2-dev lilv-utils sordi   # LV2 headers, lv2info/lv2apply, and sord_validate for lv2_validate
  binutils
  libxml2-utils
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ "${#missing[@]}" -gt 0 ]; then
  sudo_cmd=""
  if [ "$(id -u)" -ne 0 ]; then sudo_cmd="sudo"; fi
  export DEBIAN_FRONTEND=noninteractive
  $sudo_cmd apt-get update -qq
  $sudo_cmd apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
