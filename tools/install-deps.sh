#!/bin/sh
# Installs what building and testing the filter needs on Debian (run as root).
set -eu
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq --no-install-recommends \
    g++ make cmake pkg-config \
    libcups2-dev libcupsimage2-dev \
    googletest libgtest-dev >/dev/null
