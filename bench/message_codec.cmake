find_library(FLATBUFFERS flatbuffers REQUIRED)
target_link_libraries(bench_message_codec PRIVATE ${FLATBUFFERS})
