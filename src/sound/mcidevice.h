#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>
#include <memory>

// The MIDI player behind a small MCI-style command language: one device under the alias "Midi",
// rendered by FluidSynth with a General MIDI sound font.
class MciDevice : public QObject
{
    Q_OBJECT
public:
    // Codes in the MCI error range; 0 is success.
    enum Error : qint32
    {
        NoError = 0,
        BadParameter = 259, // keyword or argument the command does not take
        UnknownCommand = 261,
        UnknownAlias = 263, // any device name but "Midi"
        AlreadyOpen = 265,
        AudioUnavailable = 266, // no audio output could be opened
        EmptyCommand = 267,
        FileNotFound = 275,
        NotOpen = 276,
        InternalError = 277, // FluidSynth refused; no text of its own
        NotMidiFile = 296,
    };

    // The sound fonts tried in turn.
    static QStringList soundFontPaths();
    // The text for an error code; "Error (文字列が取れません)" for one without a text.
    static QString errorString(qint32 code);

    explicit MciDevice(QObject *parent = nullptr);
    ~MciDevice() override;

    // Returns 0 or a non-zero error code; result gets the command's result text
    // (empty for these commands) and errorText the error's text.
    qint32 MciCommand(const QString &command, QString *result, QString *errorText);
    bool isOpen() const; // alias "Midi" is open
    bool isPlaying() const;
    // Tests and headless machines: FluidSynth's "file" audio driver writing to
    // fileName. An empty driver is FluidSynth's own choice. Used from the next Open.
    void setAudioDriver(const QString &driver, const QString &fileName = {});

Q_SIGNALS:
    void notify(); // a playback started with "notify" came to its end (like MM_MCINOTIFY)
    // Every command with its outcome, for the diagnostic log and tests.
    void executed(const QString &command, qint32 code);

private:
    qint32 run(const QString &command);
    qint32 open(const QString &path, const QString &alias);
    qint32 play(bool notify);
    qint32 stop();
    qint32 close();
    bool ensureSynth();
    void pollPlayer();

    struct Fluid; // FluidSynth's handles, kept out of this header
    std::unique_ptr<Fluid> m_fluid;
    QString m_driver;
    QString m_driverFile;
    bool m_notify = false;
    QTimer m_poll;
};
