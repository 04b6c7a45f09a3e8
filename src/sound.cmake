# Sound: the MCI-style MIDI device (FluidSynth), WAV through Qt Multimedia, and
# the arrival-sound dialog.
target_sources(pb_system PRIVATE system/mcidevice.cpp system/soundplayer.cpp)
target_link_libraries(pb_system PUBLIC Qt6::Multimedia PRIVATE PkgConfig::FLUIDSYNTH)
target_sources(pb_app PRIVATE app/soundselect.cpp)
