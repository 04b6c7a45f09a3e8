pb_add_test(taglistmodel tags pb_tags)
pb_add_test(taglists tags pb_taglists)
