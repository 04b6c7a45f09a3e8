# A terminating signal quits the event loop, so shutdown runs in order.
if(WIN32)
  target_sources(pb_system PRIVATE ${CMAKE_CURRENT_LIST_DIR}/system/quitsignal_win.cpp)
else()
  target_sources(pb_system PRIVATE ${CMAKE_CURRENT_LIST_DIR}/system/quitsignal_posix.cpp)
endif()
