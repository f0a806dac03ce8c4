# --resize through the tool: the sizes it works out (one side, percentages, rounding half up)
# and the depth the resampler gives, read from the "wrote" line; and what it refuses.
tool_case(resize_both_sides NEEDS 1 EXIT 0 ARGS convert demo/sample-24.bmp resize-both.bmp --resize 160x120
  STDOUT "wrote resize-both.bmp \\(160 x 120, 24 bits")
tool_case(resize_width_keeps_aspect NEEDS 1 EXIT 0 ARGS convert demo/sample-24.bmp resize-width.bmp --resize 100x
  STDOUT "\\(100 x 75, 24 bits")
# 320 x 100 / 240 = 133.3; the 8-bit sample's table is gray, so the result stays 8-bit gray.
tool_case(resize_height_keeps_aspect NEEDS 1 EXIT 0 ARGS convert demo/sample-8.bmp resize-height.bmp --resize x100
  STDOUT "\\(133 x 100, 8 bits")
# 37 % of 320 x 240 is 118.4 x 88.8.
tool_case(resize_percent_shrinks NEEDS 1 EXIT 0 ARGS convert demo/sample-1.bmp resize-percent.bmp --resize 37%
  STDOUT "\\(118 x 89, 8 bits")
tool_case(resize_percent_grows NEEDS 1 EXIT 0 ARGS convert demo/sample-24.bmp resize-grow.bmp --resize 250%
  STDOUT "\\(800 x 600, 24 bits")
tool_case(resize_zero EXIT 2 ARGS convert a.bmp never-written.bmp --resize 0x0
  STDERR "--resize width must lie between 1 and" ABSENT never-written.bmp)
tool_case(resize_garbage EXIT 2 ARGS convert a.bmp never-written.bmp --resize big
  STDERR "--resize takes WxH, Wx, xH or N%, not 'big'" ABSENT never-written.bmp)
tool_case(resize_no_side EXIT 2 ARGS convert a.bmp never-written.bmp --resize x STDERR "--resize takes WxH")
tool_case(resize_zero_percent EXIT 2 ARGS convert a.bmp never-written.bmp --resize 0%
  STDERR "--resize percentage must lie between 1 and 10000")
