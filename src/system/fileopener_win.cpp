#include "fileopener.h"

#include <QDir>
#include <QFileInfo>

#include <climits>

#include <shellapi.h>
#include <windows.h>

namespace {

const wchar_t *wide(const QString &text)
{
    return reinterpret_cast<const wchar_t *>(text.utf16());
}

} // namespace

// ShellExecute's own result is the code; it reports a missing file (2) itself.
int openWithAssociation(const QString &path)
{
    if (path.isEmpty())
        return OpenCode::FileNotFound;
    const QString file = QDir::toNativeSeparators(QFileInfo(path).absoluteFilePath());
    const QString dir = QDir::toNativeSeparators(QFileInfo(path).absolutePath());
    const INT_PTR result = reinterpret_cast<INT_PTR>(
        ShellExecuteW(nullptr, L"open", wide(file), nullptr, wide(dir), SW_SHOWNORMAL));
    if (result >= 32)
        return result > INT_MAX ? INT_MAX : static_cast<int>(result);
    return static_cast<int>(result);
}

QString associatedProgram(const QString &path)
{
    if (path.isEmpty() || !QFileInfo::exists(path))
        return {};
    const QString file = QDir::toNativeSeparators(QFileInfo(path).absoluteFilePath());
    const QString dir = QDir::toNativeSeparators(QFileInfo(path).absolutePath());
    wchar_t program[MAX_PATH + 1] = {};
    const INT_PTR result =
        reinterpret_cast<INT_PTR>(FindExecutableW(wide(file), wide(dir), program));
    if (result <= 32)
        return {};
    return QDir::fromNativeSeparators(QString::fromWCharArray(program));
}
