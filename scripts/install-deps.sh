#!/usr/bin/env bash
# Installs the Debian packages the build needs, and only those that are missing.
# Usage: scripts/install-deps.sh [extra-package...]
set -euo pipefail

packages=(cmake make g++ libboost-filesystem-dev libboost-system-dev
          libboost-iostreams-dev libgtest-dev libbenchmark-dev "$@")

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing missing packages: ${missing[*]}" >&2
if [ "$(id -u)" -eq 0 ]; then
  SUDO=()
elif command -v sudo >/dev/null 2>&1; then
  SUDO=(sudo)
else
  echo "Missing packages and no root rights: ${missing[*]}" >&2
  exit 1
fi
export DEBIAN_FRONTEND=noninteractive
"${SUDO[@]}" apt-get update -qq >&2
"${SUDO[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
