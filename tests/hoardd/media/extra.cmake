target_link_libraries(${name}_tests PRIVATE hoardd_media test_images)
target_compile_definitions(${name}_tests PRIVATE MEDIA_WORKER="$<TARGET_FILE:hoardd-media>")
add_dependencies(${name}_tests hoardd-media)
