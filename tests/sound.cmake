pb_add_test(mcidevice system pb_system)
pb_add_test(soundplayer system pb_system)
pb_add_test(soundselect app pb_app)
