# What the parts of torture share: a directory of their own, a file to be saved, and what must be true of it afterwards.
# shellcheck shell=bash
set -euo pipefail

work=$(mktemp -d "${TMPDIR:-/var/tmp}/vfile-torture-XXXXXX")
trap 'rm -rf -- "$work"' EXIT
for signal in INT TERM HUP; do trap 'exit 2' "$signal"; done
mkdir "$work/home" "$work/swap"
export LC_ALL=C.UTF-8

found() {
    echo "torture: FOUND: ${now-}$*" >&2
    ls -la "$work/home" >&2
    exit 1
}

# fresh BYTES [LINK]: home holds `file` of so many bytes, and a second name of it when LINK is given.
fresh() {
    rm -rf "${work:?}/home" && mkdir "$work/home"
    [[ -s $work/old-$1 ]] || head -c "$1" < <(yes 'harbor and some more') >"$work/old-$1"
    cp "$work/old-$1" "$work/home/file"
    old=$work/old-$1
    new=$work/new-$1
    [[ -s $new ]] || sed 's/harbor/lighthaus/g' "$old" >"$new"
    [[ -z ${2-} ]] || ln "$work/home/file" "$work/home/second"
}

# save: what is done to it. The swap file is needed from 100 KB on.
save() { "$@" "$vfile" --cache 70 --tmp "$work/swap" replace harbor lighthaus "$work/home/file" --in-place; }

# whole [LINK]: the file is the old one or the new one; with a second name at least a copy beside it is. No more than one
# name is left over, which holds what it tells, and no swap file.
whole() {
    local beside
    beside=$(find "$work/home" -name 'file.~*')
    (($(wc -w <<<"$beside") <= 1)) || found "more than one name is left over"
    [[ -z $(ls "$work/swap") ]] || found "a swap file is left over"
    case $beside in
        *'.~new~'*) cmp -s "$beside" "$new" || found "the new bytes beside it are not whole" ;;
        *'.~old~'*) cmp -s "$beside" "$old" || found "the old bytes beside it are not whole" ;;
        '' | *'.~part~'*) ;;
        *) found "a name that tells nothing" ;;
    esac
    cmp -s "$work/home/file" "$old" || cmp -s "$work/home/file" "$new" ||
        [[ -n ${1-} && $beside == *'.~old~'* ]] || found "the file is neither the old one nor the new one"
}

# clean: nothing but the file, and its second name.
clean() { [[ -z $(find "$work/home" "$work/swap" -type f ! -name file ! -name second) ]] || found "a name is left over"; }
