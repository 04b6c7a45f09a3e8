#!/usr/bin/env python3
"""Reads a composed mail (DATA content without the final dot line) with the
standard library's parser and prints what a mail reader would get, as JSON.
Like an SMTP server, it first drops the leading dot of every line."""

import email
import email.policy
import email.utils
import json
import sys


def raw_jis(text):
    # Subject and file name are ISO-2022-JP bytes as they stand, not encoded words.
    return text.encode("ascii").decode("iso2022_jp") if text is not None else None


def date_parses(value):
    try:
        email.utils.parsedate_to_datetime(value)
        return True
    except (TypeError, ValueError):
        return False


def main():
    with open(sys.argv[1], "rb") as f:
        lines = f.read().split(b"\r\n")
    data = b"\r\n".join(line[1:] if line.startswith(b".") else line for line in lines)
    msg = email.message_from_bytes(data, policy=email.policy.compat32)
    out = {
        "subject": raw_jis(msg["Subject"]),
        "to": msg.get_all("To", []),
        "bcc": msg.get_all("Bcc", []),
        "date": msg["Date"],
        "dateParses": date_parses(msg["Date"]),
        "defects": [type(d).__name__ for d in msg.defects],
    }
    parts = msg.get_payload() if msg.is_multipart() else []
    if len(parts) == 2:
        text, attachment = parts
        out["text"] = text.get_payload(decode=True).decode(text.get_content_charset())
        out["fileName"] = raw_jis(attachment.get_filename())
        out["attachmentType"] = attachment.get_content_type()
        out["attachment"] = attachment.get_payload(decode=True).hex()
        out["attachmentDefects"] = [type(d).__name__ for d in attachment.defects]
    json.dump(out, sys.stdout, ensure_ascii=False)


if __name__ == "__main__":
    main()
