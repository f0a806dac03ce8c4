# The codecs of the format modules, as the imported targets PNG::PNG, JPEG::JPEG, TIFF::TIFF and
# GIF::GIF: Debian's packages on Linux.
find_package(PNG REQUIRED)
find_package(JPEG REQUIRED)
find_package(TIFF REQUIRED)
find_package(GIF REQUIRED)
