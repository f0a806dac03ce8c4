# Reading BMP files as today's writers make them: each converted, the result's size in
# "wrote ...", or a clean refusal with exit 1 that writes nothing.
set(bmp_data ${PROJECT_SOURCE_DIR}/tests/formats/data)
tool_case(bmp_read_v5_header EXIT 0 ARGS convert ${bmp_data}/bmpsuite/g/pal8v5.bmp read-v5.bmp
  STDOUT "wrote read-v5.bmp \\(127 x 64, 8 bits")
tool_case(bmp_read_top_down EXIT 0 ARGS convert ${bmp_data}/bmpsuite/g/pal8topdown.bmp read-top-down.bmp --flip v
  STDOUT "wrote read-top-down.bmp \\(127 x 64, 8 bits")
tool_case(bmp_read_16_bit_fields EXIT 0 ARGS convert ${bmp_data}/bmpsuite/g/rgb16-565.bmp read-565.png
  STDOUT "wrote read-565.png \\(127 x 64, 24 bits")
tool_case(bmp_read_rle_short_table EXIT 0 ARGS convert ${bmp_data}/bmpsuite/g/pal4rle.bmp read-rle4.bmp
  STDOUT "wrote read-rle4.bmp \\(127 x 64, 4 bits")
# A 58-byte file whose header claims 37000 x 38000 x 24 bits: refused on its header by the
# tool's limit, and by the reader itself for the bytes it lacks when the limit is raised.
tool_case(bmp_read_huge_header EXIT 1 ARGS convert ${bmp_data}/huge-header.bmp never-written-huge.bmp
  STDERR "37000 x 38000 pixels, over the limit of 268435456" ABSENT never-written-huge.bmp)
tool_case(bmp_read_huge_header_raised EXIT 1 ARGS convert ${bmp_data}/huge-header.bmp never-written-huge.bmp
  --max-pixels 2000000000
  STDERR "General I/O error.*the pixel data needs 4.2 GB but the file holds 58 bytes" ABSENT never-written-huge.bmp)
tool_case(bmp_read_max_pixels EXIT 1 ARGS convert ${bmp_data}/bmpsuite/g/rgb24.bmp never-written-max.bmp --max-pixels 8000
  STDERR "127 x 64 pixels, over the limit of 8000" ABSENT never-written-max.bmp)
