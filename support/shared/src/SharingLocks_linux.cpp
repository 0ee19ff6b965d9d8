// Sharing as Windows knows it, made of byte-range locks.
//
// Whoever opens a file says what it does with it (read, write) and what it keeps others from doing (deny reading, deny
// writing). Two opens get on with each other if neither does what the other denies. Each of these four statements is a
// range of bytes that lie far beyond any file's data, and an open makes a statement by locking a byte of its range:
//
//     opening | reading | writing | denies reading | denies writing        kRangeBytes each, from kFirstByte on
//
// Statements of several opens must not exclude each other, since only a pair such as "reading" and "denies reading"
// clashes. So they are shared (read) locks, all on the first byte of the range. A read lock needs a descriptor that can
// read; one that can only write takes a write lock on a byte of its own among the others of the range. Whether anybody
// else makes a statement is asked with F_OFD_GETLK over the whole range, which needs no access and meets both kinds.
//
// To be free of races each open first makes its statements and then looks for a clash; of two that clash at least one
// sees the other. So that not both give up, and nobody gives up for the sake of an open that is itself about to be
// refused, an open also locks a byte of "opening" until it is settled: who meets a clash while somebody else is opening
// takes everything back and tries again after a short random while.
//
// Limits: the locks bind only those who ask, that is CBufferedFile, here and on any machine on which the file system
// passes locks on. A lock that some other program holds on the whole file for writing refuses us, too. File systems
// without such locks open without sharing being watched. A process made by fork() shares the statements of its parent
// for as long as it keeps the descriptor.

#include "SharingLocks_linux.h"

#include <fcntl.h>
#include <time.h>

#include <array>
#include <cerrno>

#include "FaultSeam.h"

namespace shr {
namespace {

static_assert(sizeof(off_t) == 8, "build with _FILE_OFFSET_BITS=64");
constexpr off_t kFirstByte = off_t{1} << 62;
constexpr off_t kRangeBytes = 4096;
constexpr int kAttempts = 64;

enum class Statement { opening, reading, writing, deniesReading, deniesWriting };
constexpr int kStatements = 5;

struct Statements {
    std::array<bool, kStatements> made{};
    bool& operator[](Statement statement) { return made[static_cast<std::size_t>(statement)]; }
    bool operator[](Statement statement) const { return made[static_cast<std::size_t>(statement)]; }
};

struct Clash {
    Statement mine, theirs;
};
constexpr Clash kClashes[] = {
    {Statement::reading, Statement::deniesReading},
    {Statement::writing, Statement::deniesWriting},
    {Statement::deniesReading, Statement::reading},
    {Statement::deniesWriting, Statement::writing},
};

off_t RangeOf(Statement statement) { return kFirstByte + static_cast<off_t>(statement) * kRangeBytes; }

bool Allows(FileSharing sharing, FileSharing what) { return (static_cast<int>(sharing) & static_cast<int>(what)) != 0; }

Statements StatementsOf(FileAccess access, FileSharing sharing) {
    Statements statements;
    statements[Statement::opening] = true;
    statements[Statement::reading] = access != FileAccess::write;
    statements[Statement::writing] = access != FileAccess::read;
    statements[Statement::deniesReading] = !Allows(sharing, FileSharing::read);
    statements[Statement::deniesWriting] = !Allows(sharing, FileSharing::write);
    return statements;
}

using ErrorCode = int;  // as in errno; 0 is success

ErrorCode Control(int descriptor, int command, struct flock& lock) noexcept {
    if (IsFaultInjected(FileCall::lock)) return errno;
    while (fcntl(descriptor, command, &lock) != 0) {
        if (errno != EINTR) return errno;
    }
    return 0;
}

struct flock LockOn(short type, off_t start, off_t length) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = start;
    lock.l_len = length;
    return lock;
}

bool IsHeldByOthers(ErrorCode error) { return error == EAGAIN || error == EACCES; }

bool MeansNoLocksHere(ErrorCode error) {
    return error == ENOLCK || error == EINVAL || error == ENOSYS || error == EOPNOTSUPP || error == EOVERFLOW;
}

class Declaration {
public:
    Declaration(int file, bool fileIsReadable, const Statements& toMake)
        : descriptor(file), readable(fileIsReadable), statements(toMake) {}

    ErrorCode Make() noexcept {
        for (int i = 0; i < kStatements; ++i) {
            const auto statement = static_cast<Statement>(i);
            if (!statements[statement]) continue;
            if (const ErrorCode error = Lock(statement)) return error;
        }
        return 0;
    }
    void TakeBack() noexcept { Unlock(kFirstByte, kStatements * kRangeBytes); }
    void Settle() noexcept { Unlock(RangeOf(Statement::opening), kRangeBytes); }

    ErrorCode FindClash(bool& found) const noexcept {
        found = false;
        for (const Clash& clash : kClashes) {
            if (!statements[clash.mine]) continue;
            const ErrorCode error = OthersMake(clash.theirs, found);
            if (error != 0 || found) return error;
        }
        return 0;
    }
    ErrorCode OthersMake(Statement statement, bool& found) const noexcept {
        struct flock lock = LockOn(F_WRLCK, RangeOf(statement), kRangeBytes);
        const ErrorCode error = Control(descriptor, F_OFD_GETLK, lock);
        found = error == 0 && lock.l_type != F_UNLCK;
        return error;
    }

private:
    ErrorCode Lock(Statement statement) const noexcept {
        const off_t range = RangeOf(statement);
        if (readable) {
            struct flock lock = LockOn(F_RDLCK, range, 1);
            return Control(descriptor, F_OFD_SETLK, lock);
        }
        for (off_t byte = 1; byte < kRangeBytes; ++byte) {
            struct flock lock = LockOn(F_WRLCK, range + byte, 1);
            const ErrorCode error = Control(descriptor, F_OFD_SETLK, lock);
            if (!IsHeldByOthers(error)) return error;
        }
        return EAGAIN;
    }
    // Past the fault seam: an unlock that failed would leave what no caller can take back.
    void Unlock(off_t start, off_t length) const noexcept {
        struct flock lock = LockOn(F_UNLCK, start, length);
        fcntl(descriptor, F_OFD_SETLK, &lock);
    }

    int descriptor;
    bool readable;
    Statements statements;
};

void WaitARandomWhile() noexcept {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    // The low digits of the clock differ between any two that wait.
    const timespec pause{0, 50'000 + (now.tv_nsec * 7919) % 1'500'000};
    nanosleep(&pause, nullptr);
}

enum class Outcome { settled, refused, tryAgain };

ErrorCode TryOnce(Declaration& declaration, Outcome& outcome) noexcept {
    outcome = Outcome::refused;
    if (const ErrorCode error = declaration.Make()) return error;
    bool clashes = false, othersOpen = false;
    if (const ErrorCode error = declaration.FindClash(clashes)) return error;
    if (!clashes) {
        outcome = Outcome::settled;
        return 0;
    }
    if (const ErrorCode error = declaration.OthersMake(Statement::opening, othersOpen)) return error;
    // The one that clashed may have backed out just before we looked for who is opening: hence a second look.
    if (!othersOpen) {
        if (const ErrorCode error = declaration.FindClash(clashes)) return error;
    }
    if (othersOpen || !clashes) outcome = Outcome::tryAgain;
    return 0;
}

}  // namespace

int DeclareSharing(int descriptor, bool readable, FileAccess access, FileSharing sharing) noexcept {
    Declaration declaration(descriptor, readable, StatementsOf(access, sharing));
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        Outcome outcome = Outcome::refused;
        const ErrorCode error = TryOnce(declaration, outcome);
        if (error == 0 && outcome == Outcome::settled) {
            declaration.Settle();
            return 0;
        }
        declaration.TakeBack();
        if (IsHeldByOthers(error)) return EBUSY;
        if (error != 0) return MeansNoLocksHere(error) ? 0 : error;
        if (outcome == Outcome::refused) return EBUSY;
        WaitARandomWhile();
    }
    return EBUSY;
}

}  // namespace shr
