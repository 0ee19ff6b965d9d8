#pragma once
#include <tiffio.h>

#include <cstdint>
#include <exception>
#include <memory>
#include <string>

#include "pictures/Notes.h"
#include "shr/BufferedFile.h"

namespace tool {

/// libtiff on a file of ours. The library reports errors through its calls' results and a message; what our own
/// callbacks catch is kept beside it. So each call goes through Check:
///
///     tiff.Check(TIFFReadScanline(tiff, row, y, 0) == 1);
class TiffStream {
public:
    /// What the library does with the file, so that reading can also look for cancelling.
    class Data {
    public:
        virtual std::size_t Read(void* destination, std::size_t byteCount) = 0;
        virtual void Write(const void* bytes, std::size_t byteCount) = 0;
        virtual void Seek(std::int64_t position) = 0;
        virtual std::int64_t Position() = 0;
        virtual std::int64_t Length() = 0;

    protected:
        Data() = default;
        Data(const Data&) = default;
        Data& operator=(const Data&) = default;
        ~Data() = default;
    };

    /// `mode` as for TIFFOpen. `file` and `target`, for the library's warnings, are borrowed.
    TiffStream(Data& file, const char* mode, Notes& target);
    /// What was not written by then is not, if anything failed.
    ~TiffStream();
    TiffStream(const TiffStream&) = delete;
    TiffStream& operator=(const TiffStream&) = delete;

    operator TIFF*() const noexcept { return tiff; }

    /// Raises what a callback caught or std::runtime_error with the library's message, unless `succeeded` and nothing
    /// was caught.
    void Check(bool succeeded);
    /// The same for calls that decode pixels. They may succeed although the library found pixels missing or wrong.
    void CheckPixels(bool succeeded) { Check(succeeded && message.empty()); }

private:
    template <class Action>
    bool Try(const Action& action) noexcept;
    static TiffStream& Of(thandle_t handle) { return *static_cast<TiffStream*>(handle); }
    static tmsize_t OnRead(thandle_t handle, void* destination, tmsize_t byteCount);
    static tmsize_t OnWrite(thandle_t handle, void* bytes, tmsize_t byteCount);
    static toff_t OnSeek(thandle_t handle, toff_t offset, int whence);
    static toff_t OnLength(thandle_t handle);
    static int OnError(TIFF*, void* self, const char* module, const char* format, va_list arguments);
    static int OnWarning(TIFF*, void* self, const char* module, const char* format, va_list arguments);

    Data& data;
    Notes& notes;
    const char* const noReason;  // what is said where the library fails without a message
    std::exception_ptr pending;
    std::string message;  // the first since the last Check that tells of an error
    bool hasFailed = false;
    TIFF* tiff = nullptr;
};

}  // namespace tool
