file(GLOB worker_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/hoardd/media/worker/*.cpp)
list(FILTER worker_sources EXCLUDE REGEX /WorkerMain.cpp$)
pkg_check_modules(VIPS REQUIRED IMPORTED_TARGET vips)
pkg_check_modules(EXIV2 REQUIRED IMPORTED_TARGET exiv2)
pkg_check_modules(TURBOJPEG REQUIRED IMPORTED_TARGET libturbojpeg)
pkg_check_modules(AV REQUIRED IMPORTED_TARGET libavformat libavcodec libavutil libswscale)
pkg_check_modules(SECCOMP REQUIRED IMPORTED_TARGET libseccomp)
target_sources(fuzz_media_input PRIVATE
    ${worker_sources} ${PROJECT_SOURCE_DIR}/hoardd/media/Fingerprint.cpp
    ${PROJECT_SOURCE_DIR}/hoardd/media/Protocol.cpp)
target_link_libraries(fuzz_media_input PRIVATE
    PkgConfig::VIPS PkgConfig::EXIV2 PkgConfig::TURBOJPEG PkgConfig::AV PkgConfig::SECCOMP)
