#include "soundplayer.h"

#include "prompt.h"

#include <QFileInfo>
#include <cstdio>

namespace {
const char OpenFailed[] = "MidiのﾌｧｲﾙのOpenに失敗しました。（";
const char PlayFailed[] = "MidiのﾌｧｲﾙのPlayに失敗しました。（";
const char StopFailed[] = "MidiのﾌｧｲﾙのStopに失敗しました。（";
const char CloseFailed[] = "MidiのﾌｧｲﾙのCloseに失敗しました。（";
} // namespace

SoundPlayer::SoundPlayer(QObject *parent) : QObject(parent)
{
    connect(&m_mci, &MciDevice::notify, this, &SoundPlayer::midiEnded);
}

void SoundPlayer::play(const QString &path, Prompt *errors)
{
    if (path.isEmpty() || !QFileInfo(path).isFile())
        return;
    if (path.right(4).toLower() == u".wav") {
        // Setting a new source stops the sound that plays.
        m_wave.setSource(QUrl::fromLocalFile(path));
        m_wave.play();
        return;
    }
    stopMidi(errors);
    if (!send(QStringLiteral("Open \"%1\" alias Midi").arg(path), OpenFailed, errors))
        return;
    if (!send(QStringLiteral("Play Midi notify"), PlayFailed, errors)) {
        // Leave nothing open that no flag would ever close.
        send(QStringLiteral("Close Midi"), CloseFailed, errors);
        return;
    }
    m_midiPlaying = true;
}

void SoundPlayer::stopMidi(Prompt *errors)
{
    if (!m_midiPlaying)
        return;
    m_midiPlaying = false;
    send(QStringLiteral("Stop Midi"), StopFailed, errors);
    send(QStringLiteral("Close Midi"), CloseFailed, errors);
}

void SoundPlayer::beep()
{
    if (m_beeper) {
        m_beeper();
        return;
    }
    std::fputc('\a', stderr);
    std::fflush(stderr);
}

bool SoundPlayer::send(const QString &command, const char *failure, Prompt *errors)
{
    QString errorText;
    if (m_mci.MciCommand(command, nullptr, &errorText) == MciDevice::NoError)
        return true;
    const QString message = QString::fromUtf8(failure) + errorText + u')';
    if (errors)
        errors->warn(message);
    else
        qWarning("%s", qUtf8Printable(message));
    return false;
}

void SoundPlayer::midiEnded()
{
    // The file is over: free the device for the next alarm.
    stopMidi(nullptr);
}
