# Draws a drive of benchdrive: gnuplot -e "drive='drive.csv'; picture='drive.png'" plot.gp
set datafile separator ','
set terminal pngcairo size 1280,720 font 'sans,11' background '#ffffff'
set output picture
set style line 1 lc rgb '#1f5fa8' lw 2
set style line 2 lc rgb '#c8502d' lw 2
set style line 3 lc rgb '#4a8f3c' lw 2
set border lc rgb '#555555'
set grid lc rgb '#dddddd'
set multiplot

set origin 0,0; set size 0.52,1
set title 'path from above (scene units)'
set size ratio -1
set xlabel 'x'; set ylabel '-z (ahead)'
unset key
# A car every fifth of a second, as long as the default rig and pointing where it heads.
plot drive using 3:(-$5) with lines ls 1, \
     drive every 5 using ($3+1.5*sin($6)):(-($5)-1.5*cos($6)):(-3*sin($6)):(3*cos($6)) with vectors nohead lc rgb '#c8502d' lw 3
set size noratio

set key top right
set xlabel ''
set ylabel ''
set origin 0.52,0.66; set size 0.48,0.34
set title 'speed (units/s)'
plot drive using 2:8 with lines ls 1 title 'over ground', drive using 2:7 with lines ls 3 title 'of the drive'
set origin 0.52,0.33
set title 'steering (rad)'
plot drive using 2:9 with lines ls 2 notitle
set origin 0.52,0; set xlabel 'seconds'
set title 'body (rad)'
plot drive using 2:10 with lines ls 3 title 'pitch', drive using 2:11 with lines ls 2 title 'roll'
unset multiplot
