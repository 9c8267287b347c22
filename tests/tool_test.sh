#!/usr/bin/env bash
# Runs the program against what head, tail, grep, sed and wc make of the same bytes: tool_test.sh PROGRAM
# shellcheck disable=SC2016  # commands are written as text and run by eval
set -u
export vfile=$1 LC_ALL=C
dir=$(mktemp -d) && cd "$dir" || exit 1
trap 'rm -rf "$dir"' EXIT
failures=0

wrong() {
    echo "FAILED: $1: $2" >&2
    failures=$((failures + 1))
}

# same REFERENCE COMMAND: both give the same bytes, the command nothing else.
same() {
    (eval "$1") >want 2>/dev/null
    (eval "$2") >got 2>said
    local status=$?
    [[ $status == 0 ]] || wrong "$2" "status $status"
    [[ ! -s said ]] || wrong "$2" "said $(<said)"
    cmp -s want got || wrong "$2" "other bytes than $1"
}

# fails LINE COMMAND: status 2, nothing on standard output, and LINE, a pattern, first on standard error.
fails() {
    (eval "$2") >got 2>said
    local status=$?
    [[ $status == 2 ]] || wrong "$2" "status $status"
    [[ ! -s got ]] || wrong "$2" "gave $(head -c 80 got)"
    # shellcheck disable=SC2053
    [[ $(head -n 1 said) == $1 ]] || wrong "$2" "said $(<said)"
}

# nothing WORDS COMMAND: status 1, with WORDS and no complaint.
nothing() {
    (eval "$2") >got 2>said
    local status=$?
    [[ $status == 1 ]] || wrong "$2" "status $status"
    [[ $(<got) == "$1" && ! -s said ]] || wrong "$2" "gave $(head -c 80 got) $(<said)"
}

head -c 9000001 /dev/urandom >big
seq 40000 | sed 's/7/ cat-Cat /g; s/3/concat cats /g; s/11*/&      /g' >text
printf 'a\r\nbcd\re\n\nfg' >mixed
printf 'hello world' >small
: >empty
mkdir folder
printf '\357\273\277x' >marked

for range in '0 0' '0 1' '1023 2' '4194303 2' '5 4194304' '0 9000001' '8999999 7' '9000001 1' '9999999 5' '7 2000000000'; do
    read -r at len <<<"$range"
    same "tail -c +$((at + 1)) big | head -c $len" "\$vfile cut big --at $at --len $len"
    same "head -c $at big; tail -c +$((at + len + 1)) big" "\$vfile delete big --at $at --len $len -o out && cat out"
    same "head -c $at big; cat small; tail -c +$((at + 1)) big" "\$vfile insert big --at $at --from small -o - --cache 0"
done

same 'printf "\0\nhello world"' '$vfile insert small -e --at 0 --text "\x00\n" -o -'
same 'printf "hello" | tee s2' 'cp small s && ln -sf s sl && $vfile delete sl --at 5 --len 6 --in-place && cat s && [[ -L sl ]]'
same 'echo 1; printf "hELLo" | iconv -t UTF-16LE' '
    cp s2 s && $vfile replace ell ELL s --in-place && $vfile convert s --in-place --to utf-16 --no-bom && cat s'
same 'echo 1; printf "hELLo" | iconv -t UTF-16LE' '
    printf hello | iconv -t UTF-16LE >s; $vfile replace --text --encoding utf-16 ell ELL s --in-place; cat s'
stat -c '%s %i %y %z' small >state
for nothing in 'insert --at 3 --text ""' 'insert --at 3 --from empty' 'delete --at 3 --len 0' 'delete --at 11 --len 9' \
    'replace cat dog' 'replace --text cat dog' 'convert --to utf-8' 'convert --to ansi --no-bom --from utf-8'; do
    same 'cat state' "\$vfile $nothing small --in-place --quiet; stat -c '%s %i %y %z' small"
done
fails 'vfile: *--in-place is wanted*' '$vfile insert small --at 0 --text x'
same 'printf "name     small\nbytes    11\nlines    1\nlongest  11 bytes, line 1\n"' '$vfile info small'

same 'printf "name     mixed\nbytes    12\nlines    5\nends     2 LF, 1 CR LF, 1 CR\nlongest  3 bytes, line 2\n"' \
    '$vfile info mixed'
for pattern in cat CAT concat 39999 ' ' '      1' 'cats '; do
    for flags in '' -i -w -iw; do
        # grep tells the line and the byte of a match, awk the byte at which that line starts.
        same "awk '{ print NR \":\" at; at += length + 1 }' text >starts
            grep -nbo $flags -F -- '$pattern' text | awk -F: 'NR == FNR { at[\$1] = \$2; next }
                { print \$2 \":\" \$1 \":\" \$2 - at[\$1] + 1 }' starts - | tee all" "\$vfile find $flags '$pattern' text || [[ ! -s want ]]"
        [[ -s all ]] || continue
        same 'tac all' "\$vfile find '$pattern' text --back $flags --cache 9"
        [[ $flags == *w ]] && continue
        same 'wc -l <all' "\$vfile replace $flags '$pattern' 'a tiger' text -o changed"
        same "sed 's/$pattern/a tiger/g${flags:+I}' text" 'cat changed'
    done
done
for range in 1 2..5 39999..40000 40000..70000 7000..25000; do
    same "sed -n ${range/../,}p text" "\$vfile lines text $range"
done

same 'printf "many/.cat:1:1:2\nmany/a.txt:0:1:1\nmany/b.txt:2:2:1\n"' \
    'mkdir many many/d.txt && cd many && printf cat >a.txt && printf "x\ncat" >b.txt && printf dog >c.txt && printf "\140cat" >.cat
        cd .. && $vfile find cat "many/*"'
same 'printf "[a,b]:1\n-:0\nmany/b.txt:1\n"' 'printf cat >"[a,b]"; $vfile find cat "[a,b]" - "many/b*" --count <small'
fails "vfile: FILE: *'text' is a file: the order is find PATTERN FILE..." '$vfile find text dog'
fails "vfile: FILE: *'text' is a file: the order is replace PATTERN REPLACEMENT FILE" '$vfile replace text cat dog -o out'
fails 'vfile: many/z\*: not found' '$vfile find cat "many/z*"'
(
    cd many && printf data >notes.txt && chmod 640 notes.txt
    for _ in {0..99}; do $vfile backup notes.txt; done >made
)
same 'echo notes.~xt; for n in {1..9}; do echo notes.~${n}t; done; for n in {10..99}; do echo notes.~$n; done' 'cat many/made'
fails 'vfile: many/notes.txt: no free backup name is left' '$vfile backup many/notes.txt'
# Every encoding to every other and back, beside another converter; the mark tells, or else what was said.
printf 'Gr\303\274\303\237e \342\202\254 \360\237\230\200\nend\n' >u8
for enc in utf-8 utf-16 utf-16be; do
    raw=UTF-${enc#utf-}
    [[ $enc == utf-16 ]] && raw=UTF-16LE
    same "iconv -f UTF-8 -t $raw u8" '$vfile convert u8 plain --from utf-8 --to '$enc' --no-bom; cat plain'
    same '{ printf "\xEF\xBB\xBF"; cat u8; } | iconv -f UTF-8 -t '$raw '$vfile convert u8 marked --from UTF-8 --to '$enc' --bom; cat marked'
    same 'cat u8' '$vfile convert marked back --to utf-8; cat back'
    same '{ printf "\xEF\xBB\xBF"; sed "s/\xC3\x9Fe/x/" u8; } | iconv -f UTF-8 -t '$raw \
        '$vfile replace --text $(printf "\xC3\x9Fe") x marked -o changed >count; cat changed'
    # Places are counted in UTF-16 units: the last character of the first line takes two.
    same 'printf "8:1:9\n11:2:1\n"' '$vfile find --text $(printf "\360\237\230\200") marked; $vfile find --text END marked -i'
    same 'sed "s/end/END/" u8 | iconv -f UTF-8 -t '$raw '$vfile replace --text --encoding '$enc' end END plain -o changed >count; cat changed'
done
printf 'ab\0c' >zero
for command in 'convert zero --in-place --to utf-16' 'replace --text --encoding utf-8 a x zero --in-place' 'find --text a zero'; do
    fails 'vfile: zero: no text: a zero byte at 2' "\$vfile $command"
    same 'printf "ab\0c"' 'cat zero'
done
fails 'vfile: /dev/fd/*: no text: a zero byte at 2' '$vfile convert <(cat zero) out2 --to utf-8'
head -c 2000000 /dev/zero | tr '\0' x >xs
ln -s out2 to2
for out in out2 to2; do
    fails "vfile: $out: disk full" 'ulimit -f 1000; $vfile --cache 32000 convert xs $out --to utf-8'
    same 'echo to2' 'echo *o*2*'
done
same 'cp small out; cat out' '! (ulimit -f 1000; $vfile insert big --at 0 --text x -o out --cache 20000) 2>x; cat out'
same 'echo vfile: out: disk full' 'cat x'
# The signal is off from the start here: a sanitizer may write a file of its own before the program's first line.
fails 'vfile: VMem, *' '(exec 2>&1; trap "" XFSZ; ulimit -f 0; $vfile --cache 0 info big) | cat >&2; exit ${PIPESTATUS[0]}'
fails 'vfile: *too long' 'truncate -s 2G huge && $vfile info huge'
rm -f huge
for usage in '' bogus info 'info small small' 'cut small --at 1' 'cut small --at -1 --len 2' 'cut small --at 1 --len -2' \
    'cut small --at 1x --len 2' 'cut small --at "" --len 2' 'cut small --at k --len 2' 'cut small --at 1kk --len 2' \
    'insert small --at 0 -o out' 'insert small --at 0 --text a --from small -o out' 'insert small --at 0 --text a' \
    'insert - --at 0 --from - -o out' '--cache -1 info small' '--cache 32768 info small' '--tmp small info small' \
    'info small --bogus' 'find small' 'find "" small' 'find -e "\\x00" small' 'find -e "\\xg0" small' 'find -e "a\\" small' \
    'find -e "\\q" small' 'find x small --from -1' 'find x small --encoding utf-8' 'find --text x small --encoding latin' 'replace x small -o out' 'replace x y small' 'replace "" y small -o out' 'replace -e x "\\x00" small -o out' \
    'lines small' 'lines small 0' 'lines small 3..2' 'lines small 1..' 'lines small -1'; do
    rm -f out
    fails 'vfile: ?*' "\$vfile $usage </dev/null"
    [[ ! -e out ]] || wrong "$usage" "made a file"
done

# Told are all that was read and written, the memory, and nothing at all where that is wanted.
same 'sed s/cat/dog/g text' '$vfile replace cat dog text -o - --quiet'
same 'echo vfile: read big: 9000001 bytes; echo vfile: wrote out: 9000001 bytes; echo vfile: in all: cache 1, swap file yes' \
    '$vfile replace --verbose --cache 1 "cold swamp" x big -o out 2>&1 >x | sed -E "s/, [0-9.]+ s$//; s/ KB//g; s/file [1-9][0-9]+/file yes/"'

# A signal in the middle of reading ends the program by itself, and leaves the file and nothing else.
mkfifo pipe
ls -A >names
exec 5<>pipe
set -m  # else INT is ignored in the background
for signal in INT TERM HUP; do
    $vfile insert small --at 0 --from pipe --in-place --tmp . &
    head -c 400000 big >&5  # more than a pipe takes unread
    kill -$signal $!
    { wait $!; } 2>/dev/null
    (($? == 128 + $(kill -l $signal))) || wrong "SIG$signal" "another end"
    same 'cat state names' "stat -c '%s %i %y %z' small; ls -A"
done
set +m
exec 5>&-

# A reader that has enough ends the program, and no failure is invented.
$vfile cut big --at 0 --len 9000001 2>said | head -c 1 >/dev/null
[[ ! -s said ]] || wrong "cut | head" "said $(<said)"

[[ $failures == 0 ]] && echo "all as it should be"
exit $((failures > 0))
