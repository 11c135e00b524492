// Runs one analysis script on one capture file: the Python interpreter, as a child process that sees nothing of our
// environment, its output read whole.
//
// Main thread. Each run has a thread of its own, which starts the interpreter and waits for it; what became of it is
// told on the main thread, in an event of its own. Destroying the analyzer cancels the run and waits for that thread,
// up to 3 s when the script does not want to end.
#pragma once

#include "base/ChildProcess.h"
#include "base/MainQueue.h"

#include <QObject>
#include <QString>
#include <cstdint>
#include <memory>
#include <thread>

namespace vantrel {

class VantrelAnalyzer;

// Receives what became of a script. Both operations are optional: an operation is called only when the delegate says
// that it responds to it. Text that is not UTF-8 has replacement characters in its place.
class VantrelAnalyzerDelegate {
public:
    VantrelAnalyzerDelegate() = default;
    VantrelAnalyzerDelegate(const VantrelAnalyzerDelegate&) = delete;
    VantrelAnalyzerDelegate& operator=(const VantrelAnalyzerDelegate&) = delete;
    virtual ~VantrelAnalyzerDelegate() = default;

    // It ended with status 0; all that it wrote to its standard output.
    [[nodiscard]] virtual bool respondsToDidTerminateWithOutput() const { return false; }
    virtual void didTerminateWithOutput(VantrelAnalyzer& /*analyzer*/, const QString& /*output*/) {}

    // It ended otherwise; all that it wrote to its standard error, or why the interpreter could not be started.
    [[nodiscard]] virtual bool respondsToDidTerminateWithError() const { return false; }
    virtual void didTerminateWithError(VantrelAnalyzer& /*analyzer*/, const QString& /*error*/) {}

private:
    friend class VantrelAnalyzer;
    std::shared_ptr<const void> _life = std::make_shared<char>(); // tells the analyzer when this is gone
};

class VantrelAnalyzer : public QObject {
    Q_OBJECT
public:
    explicit VantrelAnalyzer(QString interpreter = systemInterpreter());
    ~VantrelAnalyzer() override;

    [[nodiscard]] static QString systemInterpreter();

    // Borrowed weakly: a delegate that is gone is none.
    [[nodiscard]] VantrelAnalyzerDelegate* delegate() const;
    void setDelegate(VantrelAnalyzerDelegate* delegate);

    // Starts the script on the capture, both full paths, and returns at once. A run that is still going is cancelled
    // and waited for first.
    void analyzeCapture(const QString& capture, const QString& script);
    // Asks the script to end, and kills it, with all it has started, 3 s later. Nothing is reported any more.
    void cancel();

    // What the current run executes, or the last one did.
    [[nodiscard]] const ChildCommand& task() const { return _task; }
    void setTask(const ChildCommand& task) { _task = task; }
    // Whether the run is not to be reported; every run begins without.
    [[nodiscard]] bool canceled() const { return _canceled; }
    void setCanceled(bool canceled) { _canceled = canceled; }
    // Until ended().
    [[nodiscard]] bool isRunning() const { return _thread.joinable(); }

Q_SIGNALS:
    // The run is over, reported or not; nothing follows.
    void ended();

private:
    class Run;
    void runTask();
    void finish(std::uint64_t number, const Expected<ChildResult>& result);
    void report(const Expected<ChildResult>& result);
    void endRun();

    VantrelAnalyzerDelegate* _delegate = nullptr; // borrowed
    std::weak_ptr<const void> _delegateLife;
    const QString _interpreter;
    ChildCommand _task;
    bool _canceled = false;
    MainQueue _results;
    std::uint64_t _runs = 0;   // so far
    std::unique_ptr<Run> _run; // shared with the thread while it lives
    std::thread _thread;
};

} // namespace vantrel
