# The pictures the tool composes out of several exports, checked as equalities between two
# command lines that must give the same file.

# pictures_same(NAME FIRST input ops... SECOND input ops... [AFTER fixtures]): both command
# lines run on the demo's files (or on files the AFTER fixtures make), and their outputs
# (pic-NAME-a.bmp, pic-NAME-b.bmp) must be identical.
function(pictures_same name)
  cmake_parse_arguments(PARSE_ARGV 1 P "" "" "FIRST;SECOND;AFTER")
  list(POP_FRONT P_FIRST first_input)
  list(POP_FRONT P_SECOND second_input)
  tool_case(${name}_a EXIT 0 ARGS convert ${first_input} pic-${name}-a.bmp ${P_FIRST})
  tool_case(${name} EXIT 0 ARGS convert ${second_input} pic-${name}-b.bmp ${P_SECOND}
    SAME "pic-${name}-a.bmp|pic-${name}-b.bmp")
  set_tests_properties(tool_${name}_a PROPERTIES FIXTURES_SETUP pic_${name}
    FIXTURES_REQUIRED "tool_samples;${P_AFTER}")
  set_tests_properties(tool_${name} PROPERTIES FIXTURES_REQUIRED "tool_samples;pic_${name};${P_AFTER}")
endfunction()

# Odd-sized cuts of the samples at each depth (the 4-bit one from the demo's eight-colour
# dither); a cut of the whole image is the image.
foreach(depth 1 4 8 24)
  set(sample demo/sample-${depth}.bmp)
  if(depth EQUAL 4)
    set(sample demo/dither-fs-4.bmp)
  endif()
  tool_case(pictures_cut_${depth} NEEDS 1 EXIT 0 ARGS convert ${sample} pic-odd-${depth}.bmp --crop 3,5,317,231
    STDOUT "317 x 231, ${depth} bits")
  set_tests_properties(tool_pictures_cut_${depth} PROPERTIES FIXTURES_SETUP pic_odd_${depth})
  tool_case(pictures_crop_whole_${depth} NEEDS 1 EXIT 0 ARGS convert ${sample} pic-whole-${depth}.bmp
    --crop 0,0,320,240 SAME "${sample}|pic-whole-${depth}.bmp")

  # The anticlockwise quarter turn, as 270 and as -90, is three clockwise ones.
  pictures_same(rotate_270_${depth} AFTER pic_odd_${depth}
    FIRST pic-odd-${depth}.bmp --rotate 90 --rotate 90 --rotate 90 SECOND pic-odd-${depth}.bmp --rotate 270)
  pictures_same(rotate_minus_90_${depth} AFTER pic_odd_${depth}
    FIRST pic-odd-${depth}.bmp --rotate 90 --rotate 180 SECOND pic-odd-${depth}.bmp --rotate -90)
endforeach()
tool_case(crop_past_the_image NEEDS 1 EXIT 1 ARGS convert demo/sample-8.bmp never-written.bmp --crop 300,0,21,10
  STDERR "--crop: the rectangle reaches past the image \\(320 x 240" ABSENT never-written.bmp)
tool_case(bad_crop_argument EXIT 2 ARGS convert a.bmp b.bmp --crop 1,2,0,4 STDERR "width and height of at least 1")

# A negative of a picture turned on a white background is the negative turned on black: the
# corners take the nearest colour of the table (1 and 8 bits) or the colour itself (24 bits).
foreach(depth 1 8 24)
  pictures_same(background_rotate_${depth}
    FIRST demo/sample-${depth}.bmp --background white --rotate 30 --negative
    SECOND demo/sample-${depth}.bmp --negative --background black --rotate 30)
  pictures_same(background_skew_${depth}
    FIRST demo/sample-${depth}.bmp --background white --skew v:-45 --negative
    SECOND demo/sample-${depth}.bmp --negative --background black --skew v:-45)
endforeach()
tool_case(bad_background EXIT 2 ARGS convert a.bmp b.bmp --background pink STDERR "--background takes")

# Depth-dependent routes: the 24-bit negative commutes with the expansion to 24 bits, and a
# 24-bit halftone brightened all the way is all white, as the 8-bit one is.
pictures_same(negative_24 FIRST demo/sample-8.bmp --negative --to-24 SECOND demo/sample-8.bmp --to-24 --negative)
pictures_same(halftone_24_white FIRST demo/sample-8.bmp --halftone threshold:255
  SECOND demo/sample-24.bmp --halftone threshold:255)

# Run-length output reads back to the pixels it was made of: a photograph-like resampled image
# of odd width at 8 bits, and the odd-sized 4-bit cut.
tool_case(pictures_photo_8 NEEDS 1 EXIT 0 ARGS convert demo/sample-8.bmp pic-photo-8.bmp --scale 319x239:cubic
  STDOUT "319 x 239, 8 bits")
set_tests_properties(tool_pictures_photo_8 PROPERTIES FIXTURES_SETUP pic_photo_8)
foreach(image photo-8 odd-4)
  string(REPLACE "-" "_" fixture pic_${image})
  tool_case(pictures_rle_${image} EXIT 0 ARGS convert pic-${image}.bmp pic-${image}-rle.bmp --rle)
  set_tests_properties(tool_pictures_rle_${image} PROPERTIES FIXTURES_REQUIRED ${fixture}
    FIXTURES_SETUP ${fixture}_rle)
  tool_case(pictures_rle_${image}_back EXIT 0 ARGS convert pic-${image}-rle.bmp pic-${image}-back.bmp
    SAME "pic-${image}.bmp|pic-${image}-back.bmp")
  set_tests_properties(tool_pictures_rle_${image}_back PROPERTIES FIXTURES_REQUIRED "${fixture};${fixture}_rle")
endforeach()

# The run-length files read the strict way, without the library (picture_check.cpp): the 8-bit
# sample, whose stream from the library passes a row's end, the 4-bit eight colours at even
# width, and the two odd-width images above.
add_executable(picture_check picture_check.cpp)
tool_case(pictures_rle_4 NEEDS 1 EXIT 0 ARGS convert demo/dither-fs-4.bmp pic-even-4-rle.bmp --rle)
set_tests_properties(tool_pictures_rle_4 PROPERTIES FIXTURES_SETUP pic_even_4_rle)
foreach(pair "demo/sample-8.bmp|sample-rle.bmp|tool_rle" "demo/dither-fs-4.bmp|pic-even-4-rle.bmp|pic_even_4_rle"
    "pic-photo-8.bmp|pic-photo-8-rle.bmp|pic_photo_8_rle" "pic-odd-4.bmp|pic-odd-4-rle.bmp|pic_odd_4_rle")
  string(REPLACE "|" ";" pair "${pair}")
  list(GET pair 0 source)
  list(GET pair 1 encoded)
  list(GET pair 2 fixture)
  add_test(NAME pictures_strict_${encoded} COMMAND picture_check ${work}/${source} ${work}/${encoded})
  set_tests_properties(pictures_strict_${encoded} PROPERTIES LABELS tool FIXTURES_REQUIRED "tool_samples;${fixture}")
endforeach()
