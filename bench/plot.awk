# Draws one growth curve as SVG, both axes logarithmic.
# Usage: awk -v curve=text -v title=... -v x=... -v y=... -f plot.awk GROWTH > FILE.svg
# GROWTH has one line for each point: curve, kind, n, milliseconds, separated by tabs.
BEGIN {
    FS = "\t"; left = 70; right = 490; top = 40; bottom = 300
    split("#1f77b4 #d62728 #2ca02c #ff7f0e #9467bd #8c564b", colour, " ")
}
function log10(v) { return log(v) / log(10) }
function floor(v, i) { i = int(v); return i > v ? i - 1 : i }
function px(v) { return left + (log10(v) - x0) * (right - left) / (x1 - x0) }
function py(v) { return bottom - (log10(v) - y0) * (bottom - top) / (y1 - y0) }
function text(tx, ty, anchor, words) {
    printf "<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"%s\">%s</text>\n", tx, ty, anchor, words
}
function rule(ax, ay, bx, by) {
    printf "<path d=\"M%.1f %.1fL%.1f %.1f\" stroke=\"#ddd\"/>\n", ax, ay, bx, by
}
$1 == curve {
    if (!($2 in points)) { points[$2] = 0; kinds[++count] = $2 }
    n[$2, ++points[$2]] = $3; ms[$2, points[$2]] = $4
    if (x0 == "" || log10($3) < x0) x0 = log10($3)
    if (x1 == "" || log10($3) > x1) x1 = log10($3)
    if (y0 == "" || log10($4) < y0) y0 = log10($4)
    if (y1 == "" || log10($4) > y1) y1 = log10($4)
}
END {
    if (count == 0) { print "no point of " curve > "/dev/stderr"; exit 1 }
    y0 = floor(y0); y1 = -floor(-y1)
    print "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 680 350\" font-family=\"sans-serif\" font-size=\"12\">"
    print "<rect width=\"680\" height=\"350\" fill=\"white\"/>"
    text((left + right) / 2, 22, "middle", title)
    text((left + right) / 2, bottom + 38, "middle", x)
    text(left, top - 8, "end", y)
    for (d = y0; d <= y1; d++) {
        rule(left, py(10 ^ d), right, py(10 ^ d)); text(left - 6, py(10 ^ d) + 4, "end", 10 ^ d)
    }
    for (d = -floor(-x0); d <= floor(x1 + 0.001); d++) {
        rule(px(10 ^ d), top, px(10 ^ d), bottom)
        text(px(10 ^ d), bottom + 18, "middle", sprintf("%d", 10 ^ d))
    }
    for (k = 1; k <= count; k++) {
        kind = kinds[k]
        dash = kind ~ /floor/ ? " stroke-dasharray=\"5 4\"" : ""
        printf "<path fill=\"none\" stroke=\"%s\" stroke-width=\"2\"%s d=\"", colour[k], dash
        for (i = 1; i <= points[kind]; i++) printf "%s%.1f %.1f", i == 1 ? "M" : "L", px(n[kind, i]), py(ms[kind, i])
        print "\"/>"
        for (i = 1; i <= points[kind]; i++) {
            printf "<circle cx=\"%.1f\" cy=\"%.1f\" r=\"3\" fill=\"%s\"/>\n", px(n[kind, i]), py(ms[kind, i]), colour[k]
        }
        printf "<rect x=\"%d\" y=\"%d\" width=\"12\" height=\"12\" fill=\"%s\"/>\n", right + 20, top + 20 * k, colour[k]
        text(right + 38, top + 20 * k + 10, "start", kind)
    }
    print "</svg>"
}
