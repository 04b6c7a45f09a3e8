pb_add_test(monthlayout calendar pb_calendar)
pb_add_test(calender calendar pb_calendar)
