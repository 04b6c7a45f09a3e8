#include "singleinstance.h"

#include <windows.h>

// An exclusive handle: no other process may open the file while we hold it, and
// the system closes the handle (and deletes the file) however the process ends.
SingleInstance::Result SingleInstance::acquire()
{
    if (isHeld())
        return Result::Acquired;
    if (!clearNonFile())
        return Result::NotWritable;
    const HANDLE h = CreateFileW(reinterpret_cast<const wchar_t *>(m_path.utf16()),
                                 GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS,
                                 FILE_ATTRIBUTE_NORMAL | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (h == INVALID_HANDLE_VALUE)
        return GetLastError() == ERROR_SHARING_VIOLATION ? Result::HeldByAnother
                                                         : Result::NotWritable;
    SetEndOfFile(h);
    const QByteArray owner = QByteArray::number(qint64(GetCurrentProcessId())) + "\r\npinboard\r\n";
    DWORD written = 0;
    WriteFile(h, owner.constData(), DWORD(owner.size()), &written, nullptr);
    m_handle = reinterpret_cast<qintptr>(h);
    return Result::Acquired;
}

void SingleInstance::release()
{
    if (m_handle == -1)
        return;
    CloseHandle(reinterpret_cast<HANDLE>(m_handle));
    m_handle = -1;
}
