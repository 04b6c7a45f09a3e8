# Date picker dialog and month texts.
add_library(pb_calendar STATIC
  ${CMAKE_CURRENT_LIST_DIR}/calendar/monthlayout.cpp
  ${CMAKE_CURRENT_LIST_DIR}/calendar/textcalendar.cpp
  ${CMAKE_CURRENT_LIST_DIR}/calendar/calender.cpp)
target_include_directories(pb_calendar PUBLIC ${CMAKE_CURRENT_LIST_DIR}/calendar)
target_link_libraries(pb_calendar PUBLIC pb_core Qt6::Widgets)
