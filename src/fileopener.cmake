# Opening a file with the program the desktop associates with its type.
target_sources(pb_system PRIVATE system/fileopener.cpp)
if(WIN32)
  target_sources(pb_system PRIVATE system/fileopener_win.cpp)
  target_link_libraries(pb_system PRIVATE shell32)
else()
  target_sources(pb_system PRIVATE system/fileopener_xdg.cpp)
endif()
