# Tag windows: placement logic in pb_tags, the widgets in their own library.
target_sources(pb_tags PRIVATE ${CMAKE_CURRENT_LIST_DIR}/tags/tagplacement.cpp)

add_library(pb_tagsui STATIC
  ${CMAKE_CURRENT_LIST_DIR}/tags/ui/tagwindow.cpp
  ${CMAKE_CURRENT_LIST_DIR}/tags/ui/tagpopupmenu.cpp
  ${CMAKE_CURRENT_LIST_DIR}/tags/ui/tagactions.cpp)
target_include_directories(pb_tagsui PUBLIC ${CMAKE_CURRENT_LIST_DIR}/tags/ui)
target_link_libraries(pb_tagsui PUBLIC pb_tags Qt6::Widgets Qt6::PrintSupport)
target_link_libraries(pb_app PUBLIC pb_tagsui)
