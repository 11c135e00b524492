#include "delivery/VantrelAnalyzer.h"
#include "base/Translated.h"

#include <QFile>
#include <QPointer>
#include <QStringDecoder>
#include <mutex>
#include <utility>

namespace vantrel {

namespace {

// All that a script sees of an environment.
const QStringList& scriptEnvironment() {
    static const QStringList variables{
        QStringLiteral("PYTHONPATH=/Library/Frameworks/Python.framework/Versions/2.7/lib/python2.7/site-packages:"
                       "/usr/local/lib/python2.7/site-packages"),
        QStringLiteral("PATH=/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin")};
    return variables;
}

// Every byte counts: a mark of the byte order stays, and what is cut short at the end is replaced as well.
QString decoded(const QByteArray& bytes) {
    using Flag = QStringConverter::Flag;
    QStringDecoder decoder(QStringConverter::Utf8, Flag::Stateless | Flag::ConvertInitialBom);
    return decoder(bytes);
}

QString whyNotStarted(const QString& interpreter, const Error& error) {
    if (QFile::exists(interpreter)) {
        return translated(QT_TRANSLATE_NOOP("vantrel", "The Python interpreter %1 cannot be started: %2."))
            .arg(interpreter, error.why);
    }
    const QString missing =
        translated(QT_TRANSLATE_NOOP("vantrel", "The Python interpreter %1 is not installed.")).arg(interpreter);
    return interpreter == VantrelAnalyzer::systemInterpreter()
               ? missing +
                     translated(QT_TRANSLATE_NOOP("vantrel", " On Debian, the package python-is-python3 provides it."))
               : missing;
}

} // namespace

// The child of one run, between the thread that waits for it and the main thread, which may end it at any time.
class VantrelAnalyzer::Run {
public:
    // The run's thread.
    [[nodiscard]] Expected<ChildResult> execute(const ChildCommand& task) {
        ChildProcess* child = nullptr;
        {
            const std::lock_guard lock(_mutex);
            if (_isEnded) {
                return ChildResult();
            }
            auto started = ChildProcess::start(task);
            if (!started) {
                return tl::unexpected(started.error());
            }
            _child = std::move(*started);
            child = _child.get();
        }
        return child->waitUntilExit();
    }

    // Any thread.
    void end() {
        const std::lock_guard lock(_mutex);
        _isEnded = true;
        if (_child) {
            _child->terminate();
        }
    }

private:
    std::mutex _mutex;
    bool _isEnded = false;                // guarded by _mutex
    std::unique_ptr<ChildProcess> _child; // guarded by _mutex; once there, it stays until this is gone
};

VantrelAnalyzer::VantrelAnalyzer(QString interpreter) : _interpreter(std::move(interpreter)) {}

VantrelAnalyzer::~VantrelAnalyzer() { endRun(); }

QString VantrelAnalyzer::systemInterpreter() { return QStringLiteral("/usr/bin/python"); }

VantrelAnalyzerDelegate* VantrelAnalyzer::delegate() const { return _delegateLife.expired() ? nullptr : _delegate; }

void VantrelAnalyzer::setDelegate(VantrelAnalyzerDelegate* delegate) {
    _delegate = delegate;
    _delegateLife = delegate != nullptr ? delegate->_life : nullptr;
}

void VantrelAnalyzer::analyzeCapture(const QString& capture, const QString& script) {
    setTask({.program = _interpreter,
             .arguments = {script, capture},
             .environment = scriptEnvironment(),
             .errors = ChildCommand::Errors::Captured});
    runTask();
}

void VantrelAnalyzer::runTask() {
    endRun();
    _canceled = false;
    _run = std::make_unique<Run>();
    _thread = std::thread([this, number = ++_runs, run = _run.get(), task = _task] {
        auto result = run->execute(task);
        _results.post([this, number, result = std::move(result)] { finish(number, result); });
    });
}

void VantrelAnalyzer::finish(std::uint64_t number, const Expected<ChildResult>& result) {
    if (number != _runs) {
        return; // another has taken its place
    }
    _thread.join();
    const QPointer<VantrelAnalyzer> self(this);
    report(result);
    if (self && !isRunning()) { // the delegate may have let go of it, or used it again
        Q_EMIT ended();
    }
}

void VantrelAnalyzer::report(const Expected<ChildResult>& result) {
    VantrelAnalyzerDelegate* receiver = delegate();
    if (_canceled || receiver == nullptr) {
        return;
    }
    if (result && result->succeeded()) {
        if (receiver->respondsToDidTerminateWithOutput()) {
            receiver->didTerminateWithOutput(*this, decoded(result->output));
        }
    } else if (receiver->respondsToDidTerminateWithError()) {
        receiver->didTerminateWithError(*this,
                                        result ? decoded(result->errors) : whyNotStarted(_interpreter, result.error()));
    }
}

void VantrelAnalyzer::cancel() {
    _canceled = true;
    if (_run) {
        _run->end();
    }
}

void VantrelAnalyzer::endRun() {
    if (_thread.joinable()) {
        cancel();
        _thread.join();
    }
}

} // namespace vantrel
