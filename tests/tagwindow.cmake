pb_add_test(tagplacement tags pb_tags)
pb_add_test(tagwindow tags pb_tagsui)
