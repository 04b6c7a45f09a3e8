#include "mcidevice.h"
#include "words.h"

#include <QFile>
#include <QFileInfo>
#include <QtEndian>
#include <fluidsynth.h>
#include <optional>

struct MciDevice::Fluid
{
    fluid_settings_t *settings = nullptr;
    fluid_synth_t *synth = nullptr;
    fluid_player_t *player = nullptr;
    fluid_audio_driver_t *audio = nullptr;
};

namespace {
constexpr int PollMs = 100;
// Larger than any alarm tune; a file beyond it is not read whole.
constexpr qint64 MaxMidiBytes = 16 * 1024 * 1024;

bool is(const QString &word, QLatin1String keyword)
{
    return word.compare(keyword, Qt::CaseInsensitive) == 0;
}

// A standard MIDI file FluidSynth can play: type 0 or 1 with its first track
// where the header says.
bool looksLikeMidi(const QByteArray &data)
{
    if (data.size() < 22 || !data.startsWith("MThd"))
        return false;
    const quint32 headerLength = qFromBigEndian<quint32>(data.constData() + 4);
    const quint16 format = qFromBigEndian<quint16>(data.constData() + 8);
    const quint16 tracks = qFromBigEndian<quint16>(data.constData() + 10);
    if (headerLength < 6 || headerLength > quint32(data.size()) - 16 || format > 1 || tracks == 0)
        return false;
    return data.mid(8 + headerLength, 4) == "MTrk";
}
} // namespace

QStringList MciDevice::soundFontPaths()
{
    return {QStringLiteral("/usr/share/sounds/sf2/TimGM6mb.sf2"),
            QStringLiteral("/usr/share/sounds/sf2/default-GM.sf2")};
}

QString MciDevice::errorString(qint32 code)
{
    switch (code) {
    case NoError:
        return {};
    case BadParameter:
        return QStringLiteral("コマンドのパラメータが正しくありません");
    case UnknownCommand:
        return QStringLiteral("認識できないコマンドです");
    case UnknownAlias:
        return QStringLiteral("指定されたデバイス名は認識できません");
    case AlreadyOpen:
        return QStringLiteral("デバイスは既に開かれています");
    case AudioUnavailable:
        return QStringLiteral("オーディオ出力を開けません");
    case EmptyCommand:
        return QStringLiteral("コマンド文字列が指定されていません");
    case FileNotFound:
        return QStringLiteral("指定されたファイルが見つかりません");
    case NotOpen:
        return QStringLiteral("デバイスが開かれていません");
    case NotMidiFile:
        return QStringLiteral("MIDIファイルとして読み込めません");
    default:
        return QStringLiteral("Error (文字列が取れません)");
    }
}

MciDevice::MciDevice(QObject *parent) : QObject(parent), m_fluid(std::make_unique<Fluid>())
{
    m_poll.setInterval(PollMs);
    connect(&m_poll, &QTimer::timeout, this, &MciDevice::pollPlayer);
}

MciDevice::~MciDevice()
{
    if (isOpen())
        close();
    if (m_fluid->synth)
        delete_fluid_synth(m_fluid->synth);
    if (m_fluid->settings)
        delete_fluid_settings(m_fluid->settings);
}

qint32 MciDevice::MciCommand(const QString &command, QString *result, QString *errorText)
{
    const qint32 code = run(command);
    if (result)
        result->clear();
    if (errorText)
        *errorText = errorString(code);
    Q_EMIT executed(command, code);
    return code;
}

bool MciDevice::isOpen() const
{
    return m_fluid->player != nullptr;
}

bool MciDevice::isPlaying() const
{
    return m_fluid->player && fluid_player_get_status(m_fluid->player) == FLUID_PLAYER_PLAYING;
}

void MciDevice::setAudioDriver(const QString &driver, const QString &fileName)
{
    m_driver = driver;
    m_driverFile = fileName;
}

qint32 MciDevice::run(const QString &command)
{
    if (command.trimmed().isEmpty())
        return EmptyCommand;
    const auto words = splitQuotedWords(command, false);
    if (!words)
        return BadParameter;
    const QString &verb = words->at(0);
    const bool isOpenVerb = is(verb, QLatin1String("open"));
    if (!isOpenVerb && !is(verb, QLatin1String("play")) && !is(verb, QLatin1String("stop")) &&
        !is(verb, QLatin1String("close")))
        return UnknownCommand;

    if (isOpenVerb) {
        // open <path> alias <name>
        if (words->size() != 4 || !is(words->at(2), QLatin1String("alias")) ||
            words->at(1).isEmpty())
            return BadParameter;
        return open(words->at(1), words->at(3));
    }

    if (words->size() < 2)
        return BadParameter;
    if (!is(words->at(1), QLatin1String("midi")))
        return UnknownAlias;
    const bool withNotify = words->size() == 3 && is(words->at(2), QLatin1String("notify"));
    if (words->size() > 3 || (words->size() == 3 && !withNotify))
        return BadParameter;
    if (!isOpen())
        return NotOpen;
    if (is(verb, QLatin1String("play")))
        return play(withNotify);
    if (is(verb, QLatin1String("stop")))
        return stop();
    return close();
}

qint32 MciDevice::open(const QString &path, const QString &alias)
{
    if (!is(alias, QLatin1String("midi")))
        return UnknownAlias;
    if (isOpen())
        return AlreadyOpen;
    if (!QFileInfo(path).isFile())
        return FileNotFound;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return NotMidiFile;
    const QByteArray data = file.read(MaxMidiBytes);
    if (!looksLikeMidi(data))
        return NotMidiFile;
    if (!ensureSynth())
        return InternalError;

    // The synth outlives each file: clear what the last one left set.
    fluid_synth_system_reset(m_fluid->synth);
    fluid_player_t *player = new_fluid_player(m_fluid->synth);
    if (!player)
        return InternalError;
    if (fluid_player_add_mem(player, data.constData(), size_t(data.size())) != FLUID_OK) {
        delete_fluid_player(player);
        return NotMidiFile;
    }

    QByteArray driver = m_driver.toUtf8();
    if (driver.isEmpty()) {
        char *fallback = nullptr;
        if (fluid_settings_getstr_default(m_fluid->settings, "audio.driver", &fallback) ==
                FLUID_OK &&
            fallback)
            driver = fallback;
    }
    fluid_settings_setstr(m_fluid->settings, "audio.driver", driver.constData());
    if (!m_driverFile.isEmpty())
        fluid_settings_setstr(m_fluid->settings, "audio.file.name",
                              QFile::encodeName(m_driverFile).constData());
    fluid_audio_driver_t *audio = new_fluid_audio_driver(m_fluid->settings, m_fluid->synth);
    if (!audio) {
        delete_fluid_player(player);
        return AudioUnavailable;
    }
    m_fluid->player = player;
    m_fluid->audio = audio;
    return NoError;
}

qint32 MciDevice::play(bool withNotify)
{
    // After the end FluidSynth starts the file again from the top.
    if (fluid_player_play(m_fluid->player) != FLUID_OK)
        return InternalError;
    m_notify = withNotify;
    m_poll.start();
    return NoError;
}

qint32 MciDevice::stop()
{
    m_poll.stop();
    m_notify = false;
    fluid_player_stop(m_fluid->player);
    fluid_synth_all_sounds_off(m_fluid->synth, -1);
    return NoError;
}

qint32 MciDevice::close()
{
    m_poll.stop();
    m_notify = false;
    // The audio thread drives the player: end it first.
    delete_fluid_audio_driver(m_fluid->audio);
    m_fluid->audio = nullptr;
    delete_fluid_player(m_fluid->player);
    m_fluid->player = nullptr;
    fluid_synth_all_sounds_off(m_fluid->synth, -1);
    return NoError;
}

bool MciDevice::ensureSynth()
{
    if (m_fluid->synth)
        return true;
    fluid_settings_t *settings = new_fluid_settings();
    if (!settings)
        return false;
    fluid_synth_t *synth = new_fluid_synth(settings);
    if (!synth) {
        delete_fluid_settings(settings);
        return false;
    }
    for (const QString &path : soundFontPaths()) {
        if (QFileInfo(path).isFile() &&
            fluid_synth_sfload(synth, QFile::encodeName(path).constData(), 1) != FLUID_FAILED) {
            m_fluid->settings = settings;
            m_fluid->synth = synth;
            return true;
        }
    }
    qWarning("No General MIDI sound font could be loaded from %s",
             qPrintable(soundFontPaths().join(QStringLiteral(", "))));
    delete_fluid_synth(synth);
    delete_fluid_settings(settings);
    return false;
}

void MciDevice::pollPlayer()
{
    if (!m_fluid->player || fluid_player_get_status(m_fluid->player) != FLUID_PLAYER_DONE)
        return;
    m_poll.stop();
    if (m_notify) {
        m_notify = false;
        Q_EMIT notify();
    }
}
