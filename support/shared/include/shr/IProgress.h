#pragma once
#include "shr/Export.h"
#include "shr/ZString.h"

namespace shr {

/// What the caller of a long operation implements to watch and to cancel it. To cancel, throw AbortException from
/// SetProgress. Tasks may be nested; each StartTask is matched by one EndTask.
class SHR_API IProgress {
public:
    /// A task begins. `steps` is how many parts it consists of and `parentSteps` how many parts of the task around it
    /// it stands for; the libraries pass 1 and 1.
    virtual void StartTask(const ZString& text, int steps, int parentSteps) = 0;
    virtual void EndTask() = 0;
    /// The part done, 0.0 .. 1.0. Storing and loading a bitmap end above 1: by one part in as many as there are tiles,
    /// so that a picture of one tile ends at 2.0. What goes over the picture more than once, as the choice of colours
    /// for an indexed format does, reports from 0 to 1 each time.
    virtual void SetProgress(double fraction) = 0;

protected:
    IProgress() = default;
    IProgress(const IProgress&) = default;
    IProgress& operator=(const IProgress&) = default;
    ~IProgress() = default;
};

/// A task for the time of a scope. `progress` may be null. Leaving the scope never throws: what EndTask throws is
/// logged.
class SHR_API CScopedIProgressTask {
public:
    CScopedIProgressTask(IProgress* progress, const ZString& text);
    ~CScopedIProgressTask();
    CScopedIProgressTask(const CScopedIProgressTask&) = delete;
    CScopedIProgressTask& operator=(const CScopedIProgressTask&) = delete;

private:
    IProgress* progress;
};

}  // namespace shr
