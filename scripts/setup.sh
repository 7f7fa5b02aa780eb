#!/bin/sh
# Installs what is missing on a bare Debian 12: setup.sh PACKAGE...
missing=
for package in "$@"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing="$missing $package"
done
[ -z "$missing" ] && exit 0
echo "installing:$missing" >&2
export DEBIAN_FRONTEND=noninteractive
# shellcheck disable=SC2086
{ apt-get update -qq && apt-get install -y -qq --no-install-recommends $missing; } >&2
