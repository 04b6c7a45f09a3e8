// Pinboard.dt3 from untrusted bytes: no crash, and a book the program can write
// reads back as the same book. A field the format cannot hold makes the writer
// refuse the whole book, which is checked too.
#include "fuzzcheck.h"

#include "addressbookfile.h"

namespace {

bool writable(const AddressBookData &book)
{
    for (const QStringList *list :
         {&book.names, &book.addresses, &book.group1, &book.group2, &book.group3, &book.groups}) {
        for (const QString &field : *list) {
            if (!canWriteField(field))
                return false;
        }
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString path = fuzzPath("Pinboard.dt3");
    fuzzWrite(path, QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)));
    QStringList skipped;
    const auto book = readAddressBook(path, nullptr, &skipped);
    FUZZ_CHECK(book);
    const qsizetype people = book->names.size();
    FUZZ_CHECK(book->addresses.size() == people && book->group1.size() == people &&
               book->group2.size() == people && book->group3.size() == people);

    const QString copy = fuzzPath("copy.dt3");
    QFile::remove(copy);
    if (!writable(*book)) {
        FUZZ_CHECK(!writeAddressBook(copy, *book));
        FUZZ_CHECK(!QFile::exists(copy));
        return 0;
    }
    FUZZ_CHECK(writeAddressBook(copy, *book));
    QStringList skippedAgain;
    const auto again = readAddressBook(copy, nullptr, &skippedAgain);
    FUZZ_CHECK(again && *again == *book);
    FUZZ_CHECK(skippedAgain.isEmpty());
    return 0;
}
