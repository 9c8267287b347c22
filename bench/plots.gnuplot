# Draws the pages' plots from tab-separated figures: gnuplot -e "figures='DIR'; plots='DIR'; mib=N" plots.gnuplot
# `sequences` and `programs` are as their benchmarks wrote them; a question mark is a figure that could not be had.
set datafile separator "\t"
set datafile missing "?"
set encoding utf8
set terminal svg size 960,420 font "sans-serif,13" background "white"
set key top left
set grid back linecolor "#dddddd"
set tics nomirror
set border 3

of(name, column) = sprintf("< grep -P '^%s\\t' %s/sequences | cut -f 2,%d", name, figures, column)
ours = "#0060a0"; text = "#a04000"; rope = "#408040"; outer = "#806090"

set logscale xy
set xrange [0.8:2200]
set xtics ("1" 1, "4" 4, "16" 16, "64" 64, "256" 256, "1024" 1024)
set xlabel "MiB of the file"

set output plots . "/cost.svg"
set multiplot layout 1, 2
set title "10 bytes inserted at a random place"
set ylabel "microseconds"
set yrange [0.5:1e5]
plot of("vfile", 3) with linespoints lw 3 pt 7 lc rgb ours title "vfile", \
     of("std::string", 3) with linespoints lw 2 pt 5 lc rgb text title "std::string", \
     of("rope", 3) with linespoints lw 2 pt 9 lc rgb rope title "rope"
set title "a byte read at a random place"
set yrange [0.005:1e4]
plot of("vfile", 4) with linespoints lw 3 pt 7 lc rgb ours title "vfile", \
     of("std::string", 4) with linespoints lw 2 pt 5 lc rgb text title "std::string", \
     of("rope", 4) with linespoints lw 2 pt 9 lc rgb rope title "rope", \
     of("STXXL", 4) with linespoints lw 2 pt 11 lc rgb outer title "STXXL"
unset multiplot

set output plots . "/memory.svg"
set title "resident memory at most, through loading, 100,000 edits and a search"
set ylabel "MiB"
set yrange [2:8000]
plot of("std::string", 6) with linespoints lw 2 pt 5 lc rgb text title "std::string", \
     of("rope", 6) with linespoints lw 2 pt 9 lc rgb rope title "rope", \
     x with lines dt 2 lc rgb "#888888" title "the file itself", \
     of("STXXL", 6) with linespoints lw 2 pt 11 lc rgb outer title "STXXL", \
     of("vfile", 6) with linespoints lw 3 pt 7 lc rgb ours title "vfile"

# A row a job, a column a program; the tool of the system is another in each job.
set output plots . "/programs.svg"
unset logscale
unset xlabel
set autoscale x
set xtics autofreq
set title sprintf("whole programs, from file to file, %d MiB", mib)
set ylabel "MB/s"
set yrange [0:*]
set style data histograms
set style histogram clustered gap 1.5
set style fill solid 0.85 noborder
set key top right
columns = "function of(p) { return p == \"vfile\" ? 1 : p == \"vim\" ? 3 : p == \"emacs\" ? 4 : p == \"vis\" ? 5 : 2 }"
rows = sprintf("{ if ($1 != job) { if (job) put(); job = $1 } if ($3 != \"?\") rate[of($2)] = %f / $3 }", mib * 1.048576)
ending = "function put(  i, l) { l = job; for (i = 1; i <= 5; i++) l = l \"\\t\" (i in rate ? rate[i] : 0); print l; delete rate } END { put() }"
pivot = "< awk -F '\\t' '" . columns . rows . ending . "' " . figures . "/programs"
plot pivot using 2:xtic(1) lc rgb ours title "vfile", \
     pivot using 3 lc rgb "#888888" title "cp, sed, grep, iconv", \
     pivot using 4 lc rgb rope title "vim", \
     pivot using 5 lc rgb outer title "emacs", \
     pivot using 6 lc rgb text title "vis"
