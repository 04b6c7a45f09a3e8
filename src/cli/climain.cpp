#include "climain.h"

#include "consoleprompt.h"
#include "cp932.h"
#include "durable.h"
#include "fileset.h"
#include "oledate.h"
#include "recordjson.h"
#include "schedule.h"
#include "singleinstance.h"
#include "tagstore.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <cmath>
#include <vector>

namespace Cli {

namespace {

const QLatin1String RecordKey("record");
const QLatin1String MessageKey("MessageText");
const QLatin1String EnvKey("env");
const QLatin1String TagsKey("tags");

constexpr const char *Usage = "usage: pinboard-cli dump [DIR] | load [DIR] FILE.json"
                              " | eval [DIR] [--at \"yyyy/mm/dd hh:nn:ss\"] [--tag N]"
                              " | mail-test [DIR] | mail [DIR] --tag N";

bool fail(QString *error, const QString &why)
{
    if (error)
        *error = why;
    return false;
}

// The store of dt1Path when the file is one to read tags from; the same judgement
// start-up makes, so the tool never reads a file the program would not.
std::optional<TagStore> readableStore(const QString &dt1Path, QString *error)
{
    const DataFileCheck check = inspectDataFile(dt1Path);
    switch (check.kind) {
    case DataFileCheck::Current:
        return TagStore(dt1Path);
    case DataFileCheck::Missing:
        fail(error, QStringLiteral("%1: no such data file").arg(dt1Path));
        break;
    case DataFileCheck::OldFormat:
        fail(error, QStringLiteral(
                        "%1: written by a version before 0.9.40; start Pinboard once to convert it")
                        .arg(dt1Path));
        break;
    case DataFileCheck::Damaged:
        fail(error, check.reason);
        break;
    }
    return std::nullopt;
}

// Exit status of a command that read only part of the file.
constexpr int PartlyRead = 2;

// The records of the new file: env, then tags[i] as record i + 2.
struct Image
{
    EnvRecord env;
    std::vector<TagRecord> tags;
};

// The record number of a dumped tag, or 0 with the reason.
int recordNumber(const QJsonObject &tag, int tagCount, QString *error)
{
    const QJsonValue v = tag.value(RecordKey);
    const double d = v.toDouble();
    if (!v.isDouble() || d != std::floor(d) || d < 2 || d > tagCount + 1) {
        if (tagCount == 0)
            fail(error, QStringLiteral("\"record\" given but TagCount is 0"));
        else
            fail(error, QStringLiteral("\"record\" must be an integer from 2 to %1 (TagCount + 1)")
                            .arg(tagCount + 1));
        return 0;
    }
    return int(d);
}

std::optional<TagRecord> tagFromJson(QJsonObject object, QString *error)
{
    TagRecord tag;
    object.remove(RecordKey);
    const QJsonValue message = object.take(MessageKey);
    if (!recordFromJson(object, tag, error))
        return std::nullopt;
    if (message.isUndefined())
        return tag;
    QString why;
    const auto bytes = bytesFromJson(message, &why);
    if (!bytes) {
        fail(error, QStringLiteral("MessageText: %1").arg(why));
        return std::nullopt;
    }
    if (bytes->size() > TagRecord::MaxMessageBytes) {
        fail(error, QStringLiteral("MessageText: %1 bytes in CP932, a message holds at most %2")
                        .arg(bytes->size())
                        .arg(TagRecord::MaxMessageBytes));
        return std::nullopt;
    }
    tag.setMessageBytes(*bytes);
    return tag;
}

std::optional<Image> imageFromJson(const QJsonObject &dumped, QString *error)
{
    for (auto it = dumped.begin(); it != dumped.end(); ++it) {
        if (it.key() != EnvKey && it.key() != TagsKey) {
            fail(error, QStringLiteral("%1: no such member at the top level")
                            .arg(quotedForError(it.key())));
            return std::nullopt;
        }
    }
    if (!dumped.value(EnvKey).isObject()) {
        fail(error, QStringLiteral("\"env\" is missing or not an object"));
        return std::nullopt;
    }
    const QJsonValue tagsValue = dumped.value(TagsKey);
    if (!tagsValue.isUndefined() && !tagsValue.isArray()) {
        fail(error, QStringLiteral("\"tags\" is not an array"));
        return std::nullopt;
    }

    Image image;
    QString why;
    if (!recordFromJson(dumped.value(EnvKey).toObject(), image.env, &why)) {
        fail(error, QStringLiteral("env: %1").arg(why));
        return std::nullopt;
    }
    why = image.env.problem();
    if (why.isEmpty() && image.env.versionCode() < QLatin1String(FirstCurrentVersionCode))
        why =
            QStringLiteral("VersionCode %1 is older than %2, the layout a dump is written back in")
                .arg(image.env.versionCode(), QLatin1String(FirstCurrentVersionCode));
    if (!why.isEmpty()) {
        fail(error, QStringLiteral("env: %1").arg(why));
        return std::nullopt;
    }

    const int count = image.env.tagCount();
    std::vector<std::optional<TagRecord>> given(count);
    const QJsonArray tags = tagsValue.toArray();
    for (qsizetype i = 0; i < tags.size(); ++i) {
        if (!tags[i].isObject()) {
            fail(error, QStringLiteral("tags[%1]: not an object").arg(i));
            return std::nullopt;
        }
        const QJsonObject object = tags[i].toObject();
        const int record = recordNumber(object, count, &why);
        if (record == 0) {
            fail(error, QStringLiteral("tags[%1]: %2").arg(i).arg(why));
            return std::nullopt;
        }
        auto &slot = given[record - 2];
        if (slot) {
            fail(error, QStringLiteral("tags[%1]: record %2 is given twice").arg(i).arg(record));
            return std::nullopt;
        }
        slot = tagFromJson(object, &why);
        if (!slot) {
            fail(error, QStringLiteral("record %1: %2").arg(record).arg(why));
            return std::nullopt;
        }
    }

    image.tags.reserve(count);
    for (auto &slot : given) {
        if (slot) {
            image.tags.push_back(std::move(*slot));
        } else {
            // A gap in the dump is a record nobody uses.
            TagRecord free;
            free.setStateMark(TagRecord::Deleted);
            image.tags.push_back(std::move(free));
        }
    }
    return image;
}

// The file is replaced whole; the one it replaces stays as Pinboard.dt1.bak
// until the new one is complete and on the disk.
bool writeImage(const Image &image, const QString &dt1Path, QString *error)
{
    const QString backup = FileSet::forDirectory(QFileInfo(dt1Path).path()).backup;
    const bool hadFile = QFileInfo::exists(dt1Path);
    if (hadFile && !Durable::copyFile(dt1Path, backup, error))
        return false;
    QSaveFile file(dt1Path);
    auto writeAt = [&file](qint64 offset, const QByteArray &bytes) {
        return file.seek(offset) && file.write(bytes) == bytes.size();
    };
    bool ok = file.open(QIODevice::WriteOnly) && writeAt(0, image.env.bytes());
    // Seeking past the end leaves the rest of each slot as zeros, as TagStore does.
    for (size_t i = 0; ok && i < image.tags.size(); ++i)
        ok = writeAt(qint64(i + 1) * TagRecord::SlotSize, image.tags[i].serialize());
    if (ok && Durable::commit(file)) {
        if (hadFile)
            QFile::remove(backup);
        return true;
    }
    const QString why = file.errorString();
    file.cancelWriting();
    return fail(error, QStringLiteral("%1: %2").arg(dt1Path, why));
}

QString oneLine(QString text)
{
    text.replace(QLatin1String("\r\n"), QLatin1String(" "));
    text.replace(u'\n', u' ');
    text.replace(u'\r', u' ');
    return text;
}

int failed(QIODevice &err, const QString &why)
{
    err.write(QStringLiteral("pinboard-cli: %1\n").arg(oneLine(why)).toUtf8());
    return 1;
}

int runDump(const QString &dir, QIODevice &out, QIODevice &err)
{
    QString why;
    QStringList damaged;
    const auto dumped = dump(FileSet::forDirectory(dir).dt1, &why, &damaged);
    if (!dumped)
        return failed(err, why);
    out.write(QJsonDocument(*dumped).toJson(QJsonDocument::Indented));
    for (const QString &d : std::as_const(damaged))
        failed(err, QStringLiteral("left out: %1").arg(d));
    return damaged.isEmpty() ? 0 : PartlyRead;
}

int runLoad(const QString &dir, const QString &jsonPath, QIODevice &err)
{
    if (!QFileInfo(dir).isDir())
        return failed(err, QStringLiteral("%1: no such directory").arg(dir));
    QFile json(jsonPath);
    if (!json.open(QIODevice::ReadOnly))
        return failed(err, QStringLiteral("%1: %2").arg(jsonPath, json.errorString()));
    QJsonParseError parseError;
    const QJsonDocument doc = QJsonDocument::fromJson(json.readAll(), &parseError);
    if (doc.isNull())
        return failed(err, QStringLiteral("%1: invalid JSON at offset %2: %3")
                               .arg(jsonPath)
                               .arg(parseError.offset)
                               .arg(parseError.errorString()));
    if (!doc.isObject())
        return failed(
            err,
            QStringLiteral("%1: not a dump: the top level is not a JSON object").arg(jsonPath));

    SingleInstance lock(dir);
    switch (lock.acquire()) {
    case SingleInstance::Result::Acquired:
        break;
    case SingleInstance::Result::HeldByAnother:
        return failed(err, QStringLiteral("Pinboard is running on %1 (%2 is held); close it first")
                               .arg(dir, QString::fromLatin1(SingleInstance::LockName)));
    case SingleInstance::Result::NotWritable:
        return failed(err, QStringLiteral("cannot lock %1").arg(lock.lockPath()));
    }
    QString why;
    if (!load(doc.object(), FileSet::forDirectory(dir).dt1, &why))
        return failed(err, QStringLiteral("%1: %2").arg(jsonPath, why));
    return 0;
}

// eval [DIR] [--at "yyyy/mm/dd hh:nn:ss"] [--tag N]: why a tag shows or not.
int runEval(const QStringList &args, const QString &defaultDir, QIODevice &out, QIODevice &err)
{
    QString dir = defaultDir;
    QDateTime now = QDateTime::currentDateTime();
    int only = -1;
    for (qsizetype i = 1; i < args.size(); ++i) {
        const QString &a = args[i];
        if (a == QLatin1String("--at") && i + 1 < args.size()) {
            const QDateTime wall = OleDate::parse(args[++i]);
            if (!wall.isValid())
                return failed(
                    err,
                    QStringLiteral("--at %1: not of the form yyyy/mm/dd hh:nn:ss").arg(args[i]));
            now = QDateTime(wall.date(), wall.time(), Qt::LocalTime);
        } else if (a == QLatin1String("--tag") && i + 1 < args.size()) {
            bool ok = false;
            only = args[++i].toInt(&ok);
            if (!ok || only < 1 || only > 99999)
                return failed(err, QStringLiteral("--tag %1: not a tag number").arg(args[i]));
        } else if (i == 1 && !a.startsWith(QLatin1String("--"))) {
            dir = a;
        } else {
            return failed(err, QString::fromLatin1(Usage));
        }
    }
    QString why;
    const auto store = readableStore(FileSet::forDirectory(dir).dt1, &why);
    if (!store)
        return failed(err, why);
    const auto env = store->readEnv(&why);
    if (!env)
        return failed(err, why);
    bool found = false;
    bool partly = false;
    for (int k = 1; k <= env->tagCount(); ++k) {
        const auto tag = store->readTag(k, &why);
        if (!tag) {
            failed(err, QStringLiteral("left out: %1").arg(why));
            partly = true;
            continue;
        }
        if (!tag->isLive())
            continue;
        if (only >= 0 && tag->tagNumber().toInt() != only)
            continue;
        found = true;
        const TagSchedule schedule = TagSchedule::fromRecord(*tag);
        const ScheduleAnswer answer = EvaluateSchedule(schedule, now);
        QString line = tag->tagNumber() + u'\t';
        if (answer.result != ScheduleResult::Damaged) {
            const bool shown = answer.result == ScheduleResult::Due;
            line += QStringLiteral("%1\t%2\t").arg(int(answer.result)).arg(answer.seconds);
            line += describeSchedule(schedule, shown, tag->mailSent()).replace(u'\n', u' ');
        } else {
            line += QStringLiteral("?\t?\tschedule kind %1 is unknown").arg(schedule.kind);
            err.write(QStringLiteral("pinboard-cli: tag %1: %2\n")
                          .arg(tag->tagNumber(), damagedDataText())
                          .toUtf8());
        }
        out.write((line + u'\n').toUtf8());
    }
    if (only >= 0 && !found)
        return failed(err, QStringLiteral("no live tag %1").arg(only, 5, 10, QLatin1Char('0')));
    return partly ? PartlyRead : 0;
}

} // namespace

std::optional<QJsonObject> dump(const QString &dt1Path, QString *error, QStringList *damaged)
{
    const auto store = readableStore(dt1Path, error);
    if (!store)
        return std::nullopt;
    const auto env = store->readEnv(error);
    if (!env)
        return std::nullopt;
    QJsonArray tags;
    for (int k = 1; k <= env->tagCount(); ++k) {
        QString why;
        const auto tag = store->readTag(k, &why);
        if (!tag) {
            if (damaged)
                damaged->append(why);
            continue;
        }
        QJsonObject object = recordToJson(*tag);
        object.insert(RecordKey, k + 1);
        object.insert(MessageKey, bytesToJson(tag->messageBytes()));
        tags.append(object);
    }
    return QJsonObject{{EnvKey, recordToJson(*env)}, {TagsKey, tags}};
}

bool load(const QJsonObject &dumped, const QString &dt1Path, QString *error)
{
    const auto image = imageFromJson(dumped, error);
    return image && writeImage(*image, dt1Path, error);
}

int run(const QStringList &args, const QString &defaultDir, QIODevice &out, QIODevice &err)
{
    const QString command = args.value(0);
    if (command == QLatin1String("--help") || command == QLatin1String("-h")) {
        out.write(Usage);
        out.write("\n");
        return 0;
    }
    if (command == QLatin1String("eval"))
        return runEval(args, defaultDir, out, err);
    if (command == QLatin1String("dump") && args.size() <= 2)
        return runDump(args.size() == 2 ? args[1] : defaultDir, out, err);
    if (command == QLatin1String("load") && args.size() == 2)
        return runLoad(defaultDir, args[1], err);
    if (command == QLatin1String("load") && args.size() == 3)
        return runLoad(args[1], args[2], err);
    return failed(err, QString::fromLatin1(Usage));
}

} // namespace Cli
