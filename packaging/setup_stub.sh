#!/bin/sh
# Kestrix @KESTRIX_VERSION@ setup for Linux: installs the program for the current user,
# without root. A gzip-compressed tar of the install tree follows the marker line at
# the end of this script.
#
#   Kestrix_@KESTRIX_VERSION@_setup.run [/silent] [/run]
#
# Each version gets its own folder, $XDG_DATA_HOME/kestrix/<version> (default
# ~/.local/share/kestrix/<version>); the link "current" beside it names the version in
# use and is switched in one rename, so a program still running from an older folder
# keeps its files. ~/.local/bin/kestrix leads to current/bin/kestrix.
# Exit codes: 0 done, 1 failure (the reason on standard error), 2 wrong usage.

version='@KESTRIX_VERSION@'
name=${0##*/}

usage() {
  cat <<USAGE
Usage: $name [/silent] [/run]
Installs Kestrix $version for the current user.
  /silent  ask nothing (without it, one question on a terminal)
  /run     start the installed program afterwards
Exit codes: 0 done, 1 failure, 2 wrong usage
USAGE
}

fail() {
  printf 'Kestrix setup: %s\n' "$1" >&2
  exit 1
}

silent=0
run=0
for argument in "$@"; do
  # Options are compared without case, as the program compares its own.
  case $(printf '%s' "$argument" | tr '[:upper:]' '[:lower:]') in
    /silent) silent=1 ;;
    /run) run=1 ;;
    --help | -h) usage; exit 0 ;;
    *) usage >&2; exit 2 ;;
  esac
done

[ -n "${HOME:-}" ] || fail "HOME is not set: no home folder to install into."
# A relative XDG_DATA_HOME is ignored, as the base-directory rules require.
case ${XDG_DATA_HOME:-} in
  /*) data=$XDG_DATA_HOME ;;
  *) data=$HOME/.local/share ;;
esac
root=$data/kestrix
target=$root/$version

if [ "$silent" = 0 ] && [ -t 0 ]; then
  while :; do
    printf 'Install Kestrix %s for this user into %s?\n[y]es / [n]o? ' "$version" "$target" >&2
    if ! read -r answer; then answer=n; fi
    case $answer in
      [yY]*) break ;;
      [nN]*) fail "Cancelled; nothing was installed." ;;
    esac
  done
fi

umask 022
mkdir -p "$root" "$HOME/.local/bin" "$data/applications" "$data/man/man1" ||
  fail "Could not create the folders below $data."
# Everything is unpacked beside its final place (same file system), so that each
# step below is a rename.
work=$(mktemp -d "$root/.setup.XXXXXX") || fail "Could not create a folder in $root."
trap 'rm -rf "$work"' EXIT
trap 'exit 1' HUP INT TERM

line=$(awk '/^__KESTRIX_PAYLOAD__$/ { print NR + 1; exit }' "$0")
[ -n "$line" ] || fail "The setup file is damaged: its content is missing."
mkdir "$work/tree" &&
  tail -n +"$line" "$0" | tar -xzf - --no-same-owner -C "$work/tree" ||
  fail "The setup file is damaged: its content could not be unpacked."
[ -x "$work/tree/bin/kestrix" ] || fail "The setup file is damaged: it holds no program."

previous=$(readlink "$root/current" 2>/dev/null)
# The same version again (a repair): the old copy is moved aside and removed at the
# end; a program running from it keeps the files it has open.
if [ -e "$target" ] || [ -L "$target" ]; then
  mv -T "$target" "$work/replaced" || fail "Could not move $target aside."
fi
mv -T "$work/tree" "$target" || fail "Could not create $target."

# Replaces the link $2 by one to $1 in a single rename: readers see the old link or
# the new one, never none.
switch_link() {
  ln -sfn "$1" "$work/link" && mv -T "$work/link" "$2" || fail "Could not link $2 to $1."
}
switch_link "$version" "$root/current"
switch_link "$root/current/bin/kestrix" "$HOME/.local/bin/kestrix"
switch_link "$root/current/share/man/man1/kestrix.1" "$data/man/man1/kestrix.1"

# The menu entry names the program and its icon by full path: a desktop session's
# PATH need not hold ~/.local/bin.
desktop=$data/applications/kestrix.desktop
escaped=$(printf '%s' "$root/current" | sed 's/[\\&|]/\\&/g')
sed -e "s|^Exec=kestrix|Exec=\"$escaped/bin/kestrix\"|" \
    -e "s|^Icon=kestrix|Icon=$escaped/share/icons/hicolor/scalable/apps/kestrix.svg|" \
    "$target/share/applications/kestrix.desktop" >"$work/desktop" &&
  mv -T "$work/desktop" "$desktop" || fail "Could not write $desktop."

# Work folders of other setups stay, unless an hour old (left by a killed setup).
find "$root" -mindepth 1 -maxdepth 1 -name '.setup.*' -mmin +60 -exec rm -rf {} + 2>/dev/null
# Of the versions, only the one just installed and the one before it stay.
for folder in "$root"/*; do
  entry=${folder##*/}
  [ -d "$folder" ] && [ ! -L "$folder" ] || continue
  case $entry in
    "$version" | "$previous") ;;
    [0-9]*) rm -rf "$folder" ;;
  esac
done

if [ "$run" = 1 ]; then
  # Detached from this setup and its terminal, not waited for.
  cd / || :
  if command -v setsid >/dev/null 2>&1; then
    setsid "$root/current/bin/kestrix" </dev/null >/dev/null 2>&1 &
  else
    nohup "$root/current/bin/kestrix" </dev/null >/dev/null 2>&1 &
  fi
fi

if [ "$silent" = 0 ]; then
  printf 'Kestrix %s is installed in %s.\n' "$version" "$target"
  case ":${PATH:-}:" in
    *":$HOME/.local/bin:"*) printf 'Start it with: kestrix\n' ;;
    *) printf 'Start it with: %s (add %s to PATH to start it as kestrix)\n' \
         "$HOME/.local/bin/kestrix" "$HOME/.local/bin" ;;
  esac
fi
exit 0
__KESTRIX_PAYLOAD__
