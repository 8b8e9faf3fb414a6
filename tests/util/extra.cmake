target_sources(util_tests PRIVATE util/CleanupFromC.c)
target_compile_definitions(util_tests PRIVATE WICKERLANE_LIBRARY="$<TARGET_FILE:wickerlane>")
add_dependencies(util_tests wickerlane_applications) # which is loaded by its place only
