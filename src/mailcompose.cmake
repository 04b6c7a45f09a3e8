# Mail composition (pure) and the per-tag mail settings file Pinboard.dt4.
target_sources(pb_store PRIVATE ${CMAKE_CURRENT_LIST_DIR}/store/mailsettingsfile.cpp)

add_library(pb_mailcompose STATIC ${CMAKE_CURRENT_LIST_DIR}/mail/mailcompose.cpp)
target_include_directories(pb_mailcompose PUBLIC ${CMAKE_CURRENT_LIST_DIR}/mail)
target_link_libraries(pb_mailcompose PUBLIC pb_core Qt6::Core)
