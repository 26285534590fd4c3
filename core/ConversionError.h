// The engine's one error type: every converter throws it with a complete German sentence.
#pragma once

#include <QString>
#include <exception>
#include <string>

namespace tramix {

class ConversionError : public std::exception {
public:
    enum class Kind { unreadable, unsupported, failed, cancelled };

    static ConversionError unreadable(const QString& name);
    static ConversionError unsupported(const QString& what);
    static ConversionError failed(const QString& sentence);
    // The user stopped the job; what was half written is gone.
    static ConversionError cancelled();

    Kind kind() const { return kind_; }
    const QString& payload() const { return payload_; }

    // What every caller shows the user.
    QString errorDescription() const;
    const char* what() const noexcept override { return utf8_.c_str(); }

private:
    ConversionError(Kind kind, const QString& payload);

    Kind kind_;
    QString payload_;
    std::string utf8_;
};

// The user-facing text of whatever a converter threw: our own sentence, or the system's.
QString describeError(const std::exception& error);

} // namespace tramix
