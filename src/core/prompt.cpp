#include "prompt.h"

QString Prompt::defaultTitle()
{
    return QStringLiteral("実行確認");
}
