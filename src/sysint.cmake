# System integration: the data folder, global hotkeys and the active window in
# pb_hotkeys (one platform file each, chosen here), the hotkey form, shortcuts,
# version window and uninstall preparation in pb_app.
target_sources(pb_system PRIVATE ${CMAKE_CURRENT_LIST_DIR}/system/datalocation.cpp)
target_sources(pb_store PRIVATE ${CMAKE_CURRENT_LIST_DIR}/store/datamove.cpp)

add_library(pb_hotkeys STATIC ${CMAKE_CURRENT_LIST_DIR}/system/hotkeys.cpp)
target_include_directories(pb_hotkeys PUBLIC ${CMAKE_CURRENT_LIST_DIR}/system)
target_link_libraries(pb_hotkeys PUBLIC Qt6::Gui)
pkg_check_modules(XCB IMPORTED_TARGET GLOBAL xcb xcb-keysyms)
if(WIN32)
  target_sources(pb_hotkeys PRIVATE ${CMAKE_CURRENT_LIST_DIR}/system/hotkeys_win.cpp
    ${CMAKE_CURRENT_LIST_DIR}/system/activewindow_win.cpp)
  target_link_libraries(pb_hotkeys PRIVATE user32)
elseif(XCB_FOUND)
  target_sources(pb_hotkeys PRIVATE ${CMAKE_CURRENT_LIST_DIR}/system/hotkeys_x11.cpp
    ${CMAKE_CURRENT_LIST_DIR}/system/activewindow_x11.cpp)
  target_link_libraries(pb_hotkeys PRIVATE PkgConfig::XCB)
else()
  target_sources(pb_hotkeys PRIVATE ${CMAKE_CURRENT_LIST_DIR}/system/hotkeys_other.cpp
    ${CMAKE_CURRENT_LIST_DIR}/system/activewindow_other.cpp)
endif()

target_sources(pb_app PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/app/hotkeyplan.cpp
  ${CMAKE_CURRENT_LIST_DIR}/app/hotkey.cpp
  ${CMAKE_CURRENT_LIST_DIR}/app/hotkeyactions.cpp
  ${CMAKE_CURRENT_LIST_DIR}/app/clipmail.cpp
  ${CMAKE_CURRENT_LIST_DIR}/app/shortcuts.cpp
  ${CMAKE_CURRENT_LIST_DIR}/app/version.cpp
  ${CMAKE_CURRENT_LIST_DIR}/app/datafolder.cpp
  ${CMAKE_CURRENT_LIST_DIR}/app/sysdesk.cpp)
target_link_libraries(pb_app PUBLIC pb_hotkeys)
