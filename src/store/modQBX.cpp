#include "store/modQBX.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/mSHAREDGeneral.h"
#include "core/modSubs.h"

#include <cstdio>
#include <memory>

namespace corva {

namespace {

const char* kModule = "modQBX";

void put32(std::string& out, int32_t v) {
    auto u = static_cast<uint32_t>(v);
    for (int i = 0; i < 4; ++i) out += static_cast<char>((u >> (8 * i)) & 0xFF);
}

void put16(std::string& out, int16_t v) {
    auto u = static_cast<uint16_t>(v);
    out += static_cast<char>(u & 0xFF);
    out += static_cast<char>((u >> 8) & 0xFF);
}

int32_t get32(const std::string& s, size_t at) {
    uint32_t u = 0;
    for (int i = 3; i >= 0; --i) u = (u << 8) | static_cast<unsigned char>(s[at + i]);
    return static_cast<int32_t>(u);
}

int16_t get16(const std::string& s, size_t at) {
    auto u = static_cast<uint16_t>(static_cast<unsigned char>(s[at]) |
                                   (static_cast<unsigned char>(s[at + 1]) << 8));
    return static_cast<int16_t>(u);
}

QBXIndexRecord recordAt(const std::string& index, long number) {
    size_t at = static_cast<size_t>(number - 1) * QBXIndexRecordSize;
    return {get32(index, at), get32(index, at + 4), get16(index, at + 8), get16(index, at + 10)};
}

} // namespace

std::string withextension(const std::string& path, const std::string& extension) {
    return filewithoutext(path) + extension;
}

void CombineToQBXFile(const std::string& rawFolder, const std::string& destination, bool append) {
    busymouse();
    guarded("CombineToQBXFile", kModule, [&] {
        std::string folder = addslash(ResolvePath(addslash(ToSlashes(rawFolder))));
        std::vector<std::string> files;
        FillFiles(folder, "EML", files);
        if (!append) EraseFile(destination);
        std::string out;
        for (const auto& name : files) {
            if (!EqualsNoCase(extonly(name), "eml")) continue;
            std::string text;
            if (!LoadTextFile(folder + name, text)) continue;
            if (InStrNoCase(text, "X-Receive-Date") == 0) {
                // A known flaw of this experimental command: such a message
                // is replaced by its date line alone.
                text =
                    "X-Receive-Date" + FileDate(folder + name).format("yyyy-mm-dd hh:nn:ss") + "\r";
            }
            out += text + QBXSeparator;
        }
        if (!AppendToTextFile(destination, out)) throw RunError(Err::PathFileAccess, destination);
        WriteQBXIndex(destination);
    });
    normalmouse();
}

void WriteQBXIndex(const std::string& destination) {
    guarded("WriteQBXIndex", kModule, [&] {
        std::string indexPath = withextension(destination, ".idx");
        EraseFile(indexPath);
        clsMessages messages;
        SplitEmails(destination, messages);
        std::string out;
        for (const auto& m : messages) {
            put32(out, static_cast<int32_t>(m->QBXFileLoc));
            put32(out, static_cast<int32_t>(m->QBXFileEndLoc));
            put16(out, m->Read ? 0 : -1);
            put16(out, 0);
        }
        if (!WriteTextFile(indexPath, out)) throw RunError(Err::PathFileAccess, indexPath);
    });
}

void SplitEmails(const std::string& path, clsMessages& collection) {
    guarded("SplitEmails", kModule, [&] {
        std::string text;
        if (!LoadTextFile(path, text)) throw RunError(Err::FileNotFound, path);
        size_t pos = 1;
        while (pos >= 1) {
            size_t p = InStr(text, "\r\n\r\n", pos);
            if (p > 0) {
                // p counts from the file's start, so the piece runs past this
                // message's header; only the header is parsed. For the first
                // message the piece stops on the blank line's first CR, so its
                // header isn't read: it keeps its place in the index, unread.
                auto m = std::make_shared<clsMessage>();
                m->CreateFromText(Mid(text, pos, p), true);
                m->QBXFileLoc = static_cast<long>(pos);
                m->InQBXFile = true;
                collection.Add(m);
            }
            size_t end = InStr(text, QBXSeparator, pos + 1);
            long endLoc = static_cast<long>(end == 0 ? text.size() : end);
            if (collection.Count() > 0) collection.Item(collection.Count())->QBXFileEndLoc = endLoc;
            pos = end;
        }
    });
}

void LoadQBXIndex(const std::string& indexPath, clsMessages& collection) {
    guarded("LoadQBXIndex", kModule, [&] {
        std::string index, container;
        if (!LoadTextFile(indexPath, index)) throw RunError(Err::FileNotFound, indexPath);
        std::string containerPath = withextension(indexPath, ".qbx");
        if (!LoadTextFile(containerPath, container))
            throw RunError(Err::FileNotFound, containerPath);
        long count = static_cast<long>(index.size()) / QBXIndexRecordSize;
        if (count < 1) return;
        QBXIndexRecord previous = recordAt(index, 1);
        for (long number = 2; number <= count; ++number) {
            QBXIndexRecord record = recordAt(index, number);
            guarded("LoadQBXIndex", kModule, [&] {
                long long start = previous.QBXFileLoc;
                long long length = static_cast<long long>(record.QBXFileLoc) - start;
                if (start < 1 || length <= 0 ||
                    start - 1 + length > static_cast<long long>(container.size()))
                    throw RunError(Err::DeviceIO,
                                   "Damaged index record " + Str(number) + " in " + indexPath);
                std::string text = Replace(
                    container.substr(static_cast<size_t>(start - 1), static_cast<size_t>(length)),
                    QBXSeparator, "");
                eatcrapfromStart(text);
                auto m = std::make_shared<clsMessage>();
                m->CreateFromText(text, true);
                m->QBXFileLoc = previous.QBXFileLoc;
                m->QBXFileEndLoc = previous.QBXFileEndLoc;
                m->IdxRec = number - 1;
                m->InQBXFile = true;
                collection.Add(m);
            });
            previous = record;
        }
    });
}

} // namespace corva
