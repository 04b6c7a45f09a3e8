# Tag list and trash: what they show and do in pb_tags, the two windows on top.
target_sources(pb_tags PRIVATE ${CMAKE_CURRENT_LIST_DIR}/tags/taglistmodel.cpp)

add_library(pb_taglists STATIC
  ${CMAKE_CURRENT_LIST_DIR}/tags/ui/taglist.cpp
  ${CMAKE_CURRENT_LIST_DIR}/tags/ui/trashlist.cpp
  ${CMAKE_CURRENT_LIST_DIR}/tags/ui/taglisthost.h)
target_include_directories(pb_taglists PUBLIC ${CMAKE_CURRENT_LIST_DIR}/tags/ui)
target_link_libraries(pb_taglists PUBLIC pb_tags Qt6::Widgets)
