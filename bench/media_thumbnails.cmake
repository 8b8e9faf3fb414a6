find_package(PNG REQUIRED)
pkg_check_modules(VIPS REQUIRED IMPORTED_TARGET vips)
pkg_check_modules(TURBOJPEG REQUIRED IMPORTED_TARGET libturbojpeg)
target_sources(bench_media_thumbnails PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/TestImages.cpp)
target_link_libraries(bench_media_thumbnails PRIVATE
    hoardd_media PkgConfig::VIPS PkgConfig::TURBOJPEG PNG::PNG ZLIB::ZLIB)
target_compile_definitions(bench_media_thumbnails PRIVATE MEDIA_WORKER="$<TARGET_FILE:hoardd-media>")
add_dependencies(bench_media_thumbnails hoardd-media)
