#include "files/tagfile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <unistd.h>

namespace nemu {

char TF_FatalText[128];

namespace {

// Misuse stops the operation, never the process: the text is printed and kept.
template <typename... Args> int Fatal(const char* format, Args... args) {
    std::snprintf(TF_FatalText, sizeof TF_FatalText, format, args...);
    std::fputs(TF_FatalText, stdout);
    std::fflush(stdout);
    return TF_FATAL;
}

// A transfer that ends short without a system error (the end of the file) must still
// read as a failure, so it is given an error number of its own.
int IoFailure(const char* label) {
    if (errno == 0) errno = EIO;
    int error = errno;
    std::perror(label);
    return error;
}

void PutHeader(uint8_t* out, const Tag& tag) {
    const uint32_t words[2] = {tag.Id, tag.Size};
    for (int w = 0; w < 2; w++)
        for (int i = 0; i < 4; i++) out[w * 4 + i] = uint8_t(words[w] >> (8 * i));
    out[8] = uint8_t(tag.Version);
    out[9] = uint8_t(tag.Version >> 8);
    out[10] = uint8_t(tag.Revision);
    out[11] = uint8_t(tag.Revision >> 8);
}

void GetHeader(const uint8_t* in, Tag* tag) {
    auto word = [in](int at) {
        return uint32_t(in[at]) | uint32_t(in[at + 1]) << 8 | uint32_t(in[at + 2]) << 16 |
               uint32_t(in[at + 3]) << 24;
    };
    tag->Id = word(0);
    tag->Size = word(4);
    tag->Version = uint32_t(in[8]) | uint32_t(in[9]) << 8;
    tag->Revision = uint32_t(in[10]) | uint32_t(in[11]) << 8;
}

// Exact transfers: anything short is a failure.
bool ReadAll(int fd, void* buffer, uint32_t count) {
    errno = 0;
    auto* p = static_cast<uint8_t*>(buffer);
    while (count > 0) {
        ssize_t n = ::read(fd, p, count);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        p += n;
        count -= uint32_t(n);
    }
    return true;
}

bool WriteAll(int fd, const void* buffer, uint32_t count) {
    errno = 0;
    auto* p = static_cast<const uint8_t*>(buffer);
    while (count > 0) {
        ssize_t n = ::write(fd, p, count);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        p += n;
        count -= uint32_t(n);
    }
    return true;
}

// Seeks to an absolute position; false unless the file lands exactly there. Positions
// are 32-bit in this format, so a target beyond that range cannot be reached.
bool SeekTo(int fd, uint64_t target) {
    errno = 0;
    if (target > UINT32_MAX) {
        errno = EINVAL;
        return false;
    }
    return ::lseek(fd, off_t(target), SEEK_SET) == off_t(target);
}

bool ValidMode(const TagFile* file) {
    return file->Mode == 0 || file->Mode == 1;
}

} // namespace

TagFile* TF_Open(const char* path, const char* mode) {
    if (!mode || (mode[0] != 'r' && mode[0] != 'w')) {
        Fatal("FATAL : TF_Open : unknown mode >%s<\n", mode ? mode : "(null)");
        return nullptr;
    }
    TagFile* file = new (std::nothrow) TagFile;
    if (!file) return nullptr;
    file->Position = 0;
    Tag& root = file->Stack[0];
    uint8_t header[12];
    if (mode[0] == 'r') {
        file->Handle = ::open(path, O_RDONLY | O_CLOEXEC);
        if (file->Handle < 0) {
            delete file;
            return nullptr;
        }
        file->Mode = 0;
        if (!ReadAll(file->Handle, header, 12)) {
            IoFailure("TF_Read");
            ::close(file->Handle);
            delete file;
            return nullptr;
        }
        GetHeader(header, &root);
        // Not ours: the caller reports a file it can't read.
        if (root.Id != TF_ROOT_ID) {
            ::close(file->Handle);
            delete file;
            return nullptr;
        }
    } else {
        file->Handle = ::open(path, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        if (file->Handle < 0) {
            delete file;
            return nullptr;
        }
        file->Mode = 1;
        root = Tag{TF_ROOT_ID, 0, 1, 0, 0};
        PutHeader(header, root);
        if (!WriteAll(file->Handle, header, 12)) {
            IoFailure("TF_Write");
            ::close(file->Handle);
            delete file;
            return nullptr;
        }
    }
    root.DataStart = 12;
    file->Position = 12;
    file->Depth = 1;
    return file;
}

int TF_OpenTag(TagFile* file, Tag* tag) {
    if (!ValidMode(file)) return Fatal("FATAL : TF_OpenTag : bad mode >%d<\n", file->Mode);
    if (file->Depth >= TF_MAX_DEPTH)
        return Fatal("FATAL : TF_OpenTag : more than %d open tags\n", TF_MAX_DEPTH - 1);
    uint8_t header[12];
    if (file->Mode == 1) {
        PutHeader(header, *tag);
        if (!WriteAll(file->Handle, header, 12)) return IoFailure("TF_Write");
    } else {
        if (!ReadAll(file->Handle, header, 12)) return IoFailure("TF_Read");
        GetHeader(header, tag);
    }
    file->Position += 12;
    off_t here = ::lseek(file->Handle, 0, SEEK_CUR);
    if (here < 0) return IoFailure("TF_Seek");
    tag->DataStart = uint32_t(here);
    file->Position = tag->DataStart;
    file->Stack[file->Depth++] = *tag;
    return 0;
}

int TF_CloseTag(TagFile* file) {
    if (!ValidMode(file)) return Fatal("FATAL : TF_CloseTag : bad mode >%d<\n", file->Mode);
    if (file->Depth < 1) return Fatal("FATAL : TF_CloseTag : no open tag\n");
    Tag& top = file->Stack[--file->Depth];
    if (file->Mode == 0) {
        uint64_t end = uint64_t(top.DataStart) + top.Size;
        if (!SeekTo(file->Handle, end)) return IoFailure("lseek 1");
        file->Position = uint32_t(end);
        return 0;
    }
    off_t end = ::lseek(file->Handle, 0, SEEK_CUR);
    if (end < 0) return IoFailure("TF_Seek");
    top.Size = uint32_t(uint64_t(end) - top.DataStart);
    if (!SeekTo(file->Handle, uint64_t(top.DataStart) - 12)) return IoFailure("lseek 2");
    uint8_t header[12];
    PutHeader(header, top);
    if (!WriteAll(file->Handle, header, 12)) return IoFailure("TF_Write");
    if (!SeekTo(file->Handle, uint64_t(end))) return IoFailure("lseek 3");
    file->Position = uint32_t(end);
    return 0;
}

int TF_Read(TagFile* file, void* buffer, uint32_t count) {
    if (file->Mode != 0) return Fatal("FATAL : TF_Read : bad mode >%d<\n", file->Mode);
    if (!ReadAll(file->Handle, buffer, count)) return IoFailure("TF_Read");
    file->Position += count;
    return 0;
}

int TF_Write(TagFile* file, const void* buffer, uint32_t count) {
    if (file->Mode != 1) return Fatal("FATAL : TF_Write : bad mode >%d<\n", file->Mode);
    if (!WriteAll(file->Handle, buffer, count)) return IoFailure("TF_Write");
    file->Position += count;
    return 0;
}

int TF_Seek(TagFile* file, uint32_t offset) {
    if (!ValidMode(file)) return Fatal("FATAL : TF_Seek : bad mode >%d<\n", file->Mode);
    if (file->Depth < 1) return Fatal("FATAL : TF_Seek : no open tag\n");
    uint64_t target = uint64_t(file->Stack[file->Depth - 1].DataStart) + offset;
    if (!SeekTo(file->Handle, target)) return IoFailure("TF_Seek");
    file->Position = uint32_t(target);
    return 0;
}

int TF_SeekEnd(TagFile* file) {
    if (file->Mode != 1) return Fatal("FATAL : TF_SeekEnd : bad mode >%d<\n", file->Mode);
    errno = 0;
    off_t end = ::lseek(file->Handle, 0, SEEK_END);
    if (end < 0 || uint64_t(end) > UINT32_MAX) return IoFailure("TF_Seek");
    file->Position = uint32_t(end);
    return 0;
}

int TF_Close(TagFile* file) {
    if (!file) return 0;
    int result = 0;
    if (!ValidMode(file)) {
        // Nothing can be trusted to patch; the handle and record are still given back.
        result = Fatal("FATAL : TF_Close : bad mode >%d<\n", file->Mode);
    } else if (file->Mode == 1) {
        if (file->Depth > 1)
            std::printf("TagFile : WARNING : There are %d open tags at close\n", file->Depth);
        while (file->Depth > 0) {
            int error = TF_CloseTag(file);
            // A tag that can't be patched is lost, but its parents are still tried.
            if (error && !result) result = error;
        }
    }
    if (::close(file->Handle) != 0 && !result) result = errno;
    delete file;
    return result;
}

} // namespace nemu
