#!/bin/sh
# Makes the GIF test files and the pixels other decoders give for them. Run by hand from this
# directory (CI never runs it); the outputs are committed. Needs ImageMagick (/usr/bin/convert),
# giflib's tools (gifbuild, gif2rgb) and netpbm.
#
#   gif_anim.gif            4 frames made by gifbuild on a 16 x 12 screen: disposals keep,
#                           restore background, restore previous, keep; transparent pixels in
#                           every frame; frame 2 with a local table, frame 3 interlaced, frame 4
#                           partly off the screen
#   gif_anim_frameN.ppm     ImageMagick's coalesced frame N, transparency shown on white
#   gif_im_*.gif, .ppm      images written and decoded by ImageMagick: 2 and 16 colours, 256
#                           interlaced, one with a transparent colour
#   gif_gb_local.gif, .ppm  gifbuild: one interlaced image with a local table over a global one;
#                           the pixels from giflib's gif2rgb
set -eu
IM=/usr/bin/convert

gifbuild <<'LAYOUT' > gif_anim.gif
screen width 16
screen height 12
screen colors 4
screen background 2
pixel aspect byte 0
screen map
	rgb 255 255 255 is w
	rgb 200 0 0 is r
	rgb 0 0 160 is b
	rgb 0 128 0 is .
end
graphics control
	disposal mode 1
	delay 10
	transparent index 3
end
image
image left 0
image top 0
image bits 16 by 12
rrrrrrrrrrrrrrrr
r..............r
r.bbbbbbbbbbbb.r
r.b..........b.r
r.b.rrrrrrrr.b.r
r.b.r......r.b.r
r.b.r......r.b.r
r.b.rrrrrrrr.b.r
r.b..........b.r
r.bbbbbbbbbbbb.r
r..............r
rrrrrrrrrrrrrrrr
graphics control
	disposal mode 2
	delay 10
	transparent index 0
end
image
image left 2
image top 3
image map
	rgb 0 0 0 is .
	rgb 250 200 0 is y
	rgb 0 200 200 is c
	rgb 90 40 10 is o
end
image bits 8 by 6
yyyyyyyy
ycccccoy
yc....oy
yc....oy
yooooooy
yy....yy
graphics control
	disposal mode 3
	delay 10
	transparent index 3
end
image
image left 6
image top 4
image interlaced
image bits 8 by 7
bbbbbbbb
b......b
b.rrrr.b
b.rwwr.b
b.rrrr.b
b......b
bbbbbbbb
graphics control
	disposal mode 1
	delay 10
	transparent index 3
end
image
image left 12
image top 9
image bits 6 by 5
bbbbbb
b....b
b.rr.b
b....b
bbbbbb
LAYOUT
$IM gif_anim.gif -coalesce -background white -alpha remove gif_anim_frame%d.ppm
for n in 3 2 1 0; do mv gif_anim_frame$n.ppm gif_anim_frame$((n + 1)).ppm; done

# ImageMagick's own files, decoded by ImageMagick.
$IM -size 37x21 pattern:checkerboard -monochrome gif_im_bilevel.gif
$IM -size 33x17 gradient:red-blue -colors 16 +dither gif_im_16.gif
$IM -size 41x29 gradient:yellow-navy \( -size 41x29 gradient:black-white -rotate 90 \) -compose overlay \
    -composite -colors 256 -interlace GIF gif_im_256_interlaced.gif
$IM -size 23x19 xc:orange -fill navy -draw "circle 11,9 11,3" -fill lime -draw "rectangle 0,0 5,5" \
    -transparent lime gif_im_transparent.gif
for f in gif_im_bilevel gif_im_16 gif_im_256_interlaced gif_im_transparent; do
    $IM $f.gif -background white -alpha remove $f.ppm
done

# giflib's own: an interlaced image with a local table over a global one, decoded by gif2rgb.
gifbuild <<'LAYOUT' > gif_gb_local.gif
screen width 9
screen height 10
screen colors 2
screen map
	rgb 0 0 0
	rgb 255 255 255
end
image
image interlaced
image map
	rgb 10 20 30 is a
	rgb 200 100 50 is b
	rgb 255 255 0 is c
end
image bits 9 by 10
aaaaaaaaa
abbbbbbba
abcccccba
abcaaacba
abcabacba
abcabacba
abcaaacba
abcccccba
abbbbbbba
aaaaaaaaa
LAYOUT
gif2rgb -1 -o gif_gb_local.rgb gif_gb_local.gif
{ printf 'P6\n9 10\n255\n'; cat gif_gb_local.rgb; } > gif_gb_local.ppm
rm gif_gb_local.rgb
