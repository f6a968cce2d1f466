# shellcheck shell=bash
# Installs Debian packages that are missing. To be sourced; needs root or sudo when something is.

# need PURPOSE PACKAGE...
need() {
  local purpose=$1 package missing=()
  shift
  for package in "$@"; do
    [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed ]] ||
      missing+=("$package")
  done
  ((${#missing[@]})) || return 0

  echo "Installing $purpose: ${missing[*]}" >&2
  local as_root=()
  if ((EUID != 0)); then
    command -v sudo >/dev/null || {
      echo "This needs root: run it as root, or install sudo." >&2
      return 1
    }
    as_root=(sudo)
  fi
  "${as_root[@]}" apt-get -qq update >&2
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get -qq -o Dpkg::Use-Pty=0 install -y --no-install-recommends "${missing[@]}" >/dev/null
}

need_for_building() {
  need "what the build needs" g++ cmake ninja-build pkg-config libxml2-dev zlib1g-dev \
    libdeflate-dev libmd-dev libxxhash-dev libminizip-dev libmobi-dev libcli11-dev \
    nlohmann-json3-dev libsimdjson-dev libpng-dev libwebp-dev libtiff-dev libturbojpeg0-dev libuchardet-dev libpango1.0-dev libcld2-dev libgumbo-dev libpcre2-dev \
    libcmark-gfm-dev libcmark-gfm-extensions-dev libidn2-dev libseccomp-dev libmicrohttpd-dev libcrypt-dev

  # What one build has compiled, another one of the same kind takes from the cache: a build from
  # nothing from the one before it.
  need "what saves compiling" ccache
  export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
  export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
  export CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_ctime,include_file_mtime
}

need_for_packaging() {
  need "what the packaging needs" dpkg-dev file gzip
}
