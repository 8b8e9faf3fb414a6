target_sources(fuzz_turned_jpeg PRIVATE ${PROJECT_SOURCE_DIR}/cli/view/TurnedJPEG.cpp)
pkg_check_modules(TURBOJPEG REQUIRED IMPORTED_TARGET libturbojpeg)
target_link_libraries(fuzz_turned_jpeg PRIVATE PkgConfig::TURBOJPEG)
