#pragma once

#include "mcidevice.h"

#include <QObject>
#include <QSoundEffect>
#include <QUrl>
#include <functional>

class Prompt;

// Plays a tag's or an arrival's sound: WAV through Qt Multimedia, anything
// else as MIDI through the MCI device. One MIDI file plays at a time.
class SoundPlayer : public QObject
{
    Q_OBJECT
public:
    explicit SoundPlayer(QObject *parent = nullptr);

    MciDevice &mci() { return m_mci; }

    // Plays path: when its last four characters, lower-cased, are ".wav", through
    // QSoundEffect (a new sound replaces the one playing); otherwise as MIDI,
    // stopping and closing the MIDI that plays first. With errors, an MCI failure
    // is shown through it; the scheduler passes nullptr and plays without
    // messages. A missing file plays nothing.
    void play(const QString &path, Prompt *errors = nullptr);
    // "Stop Midi" then "Close Midi" when MIDI is playing, clearing the flag.
    void stopMidi(Prompt *errors = nullptr);
    bool midiPlaying() const { return m_midiPlaying; } // MidiPlayingFlag
    // The last WAV handed to the sound effect.
    QUrl waveSource() const { return m_wave.source(); }

    // The system beep. pb_system has no widgets: the application installs
    // QApplication::beep here; until then the terminal bell is rung.
    void beep();
    void setBeeper(std::function<void()> beeper) { m_beeper = std::move(beeper); }

private:
    bool send(const QString &command, const char *failure, Prompt *errors);
    void midiEnded();

    MciDevice m_mci;
    QSoundEffect m_wave;
    bool m_midiPlaying = false;
    std::function<void()> m_beeper;
};
