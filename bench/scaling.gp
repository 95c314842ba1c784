# SPDX-License-Identifier: Apache-2.0
# Draws how calls grow, from the points that the benchmark wrote to the file named in `points`.
set terminal svg size 1080,360 dynamic background "white"
set multiplot layout 1,3
set logscale xy
set format "10^{%T}"
set grid
set key top left
set ylabel "µs"
array titles = ["ListObjects", "SetPin", "GetX509Certificate"]
array dimensions = ["objects", "slots", "bytes"]
do for [i = 1:3] {
    set title titles[i]
    set xlabel dimensions[i]
    plot points index i - 1 using 1:2 with linespoints pointtype 6 title "bare sequence", \
         points index i - 1 using 1:3 with linespoints pointtype 7 title "the library"
}
