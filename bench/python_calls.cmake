find_package(Python3 3.11 REQUIRED COMPONENTS Interpreter)
find_package(PNG REQUIRED)
pkg_check_modules(TURBOJPEG REQUIRED IMPORTED_TARGET libturbojpeg)
target_sources(bench_python_calls PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/TestImages.cpp)
target_link_libraries(bench_python_calls PRIVATE PkgConfig::TURBOJPEG PNG::PNG ZLIB::ZLIB)
target_compile_definitions(bench_python_calls PRIVATE
    HOARDD_PROGRAM="$<TARGET_FILE:hoardd>" LIBRARY_FILE="$<TARGET_FILE:wickerlane>" PYTHON_PROGRAM="${Python3_EXECUTABLE}"
    PACKAGE_FOLDER="${PROJECT_SOURCE_DIR}/python" CALLS_PROGRAM="${CMAKE_CURRENT_SOURCE_DIR}/python_calls/calls.py")
add_dependencies(bench_python_calls hoardd)
