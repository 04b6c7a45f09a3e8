# Tags on screen: placement, editor input rules and list contents in pb_tags;
# the tag window, the editor and the two lists in pb_tagsui.
target_sources(pb_tags PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/tags/tagplacement.cpp
  ${CMAKE_CURRENT_LIST_DIR}/tags/tagentryinput.cpp
  ${CMAKE_CURRENT_LIST_DIR}/tags/taglistmodel.cpp)

add_library(pb_tagsui STATIC
  ${CMAKE_CURRENT_LIST_DIR}/tags/ui/tagwindow.cpp
  ${CMAKE_CURRENT_LIST_DIR}/tags/ui/tagpopupmenu.cpp
  ${CMAKE_CURRENT_LIST_DIR}/tags/ui/tagactions.cpp
  ${CMAKE_CURRENT_LIST_DIR}/tags/ui/tagentry.cpp
  ${CMAKE_CURRENT_LIST_DIR}/tags/ui/taglistwindow.cpp
  ${CMAKE_CURRENT_LIST_DIR}/tags/ui/taglist.cpp
  ${CMAKE_CURRENT_LIST_DIR}/tags/ui/trashlist.cpp
  ${CMAKE_CURRENT_LIST_DIR}/tags/ui/taglisthost.h)
target_include_directories(pb_tagsui PUBLIC ${CMAKE_CURRENT_LIST_DIR}/tags/ui)
target_link_libraries(pb_tagsui PUBLIC pb_tags pb_calendar pb_system Qt6::Widgets Qt6::PrintSupport)
target_link_libraries(pb_app PUBLIC pb_tagsui)
