#pragma once

#include "fileset.h"
#include "mailcompose.h"
#include "mailsettingsfile.h"
#include "smtpsession.h"

#include <optional>

class Clock;
class MailSender;
class Prompt;
class Settings;
class TagStore;

// A tag's mail: the recipients and subject kept for it in Pinboard.dt4, its
// message as the body, and its file as the attachment when one is chosen.
class TagMailer
{
public:
    // Said when a tag has no To address; nothing is sent then.
    static QString noAddressText();

    TagMailer(const FileSet &files, const TagStore &store, const Settings &settings,
              MailSender &sender, const Clock &clock, Prompt &prompt);

    // The content of tag k's mail; nullopt with the reason when the tag cannot be read.
    std::optional<MailContent> contentOf(int k, QString *error = nullptr) const;

    // Composes tag k's mail and queues it. A tag without a To address is refused
    // with noAddressText(); a mail that cannot be composed is reported like a
    // failed session. Returns whether the mail was queued.
    bool SendTagMail(int k);
    // The pop-up menu's "send the content": the given text, no attachment.
    bool sendDirect(const TagMailSettings &recipients, const QString &text);

private:
    // A mail from this machine's sender address to the given recipients.
    MailContent addressed(const TagMailSettings &recipients, const QString &body) const;
    bool queue(const MailContent &content);

    FileSet m_files;
    const TagStore &m_store;
    const Settings &m_settings;
    MailSender &m_sender;
    const Clock &m_clock;
    Prompt &m_prompt;
};
