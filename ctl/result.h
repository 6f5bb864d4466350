#pragma once

#include <QString>

#include <optional>
#include <utility>
#include <variant>

namespace ctl {

/// Why a command did not succeed, in words for the person at the terminal.
struct Failure
{
    QString message;         ///< one line, no full stop
    bool wrongUsage = false; ///< found before anything was sent: the exit code is 2 instead of 1
    bool unanswered = false; ///< a request was sent, and whether it was carried out is not known
};

/// Nothing: done.
using Outcome = std::optional<Failure>;

/// A value, or why there is none.
template <typename Value>
class Result
{
public:
    Result(Value value)
        : m_content(std::move(value))
    {}
    Result(Failure failure)
        : m_content(std::move(failure))
    {}

    [[nodiscard]] explicit operator bool() const { return std::holds_alternative<Value>(m_content); }
    [[nodiscard]] Value &operator*() { return std::get<Value>(m_content); }
    [[nodiscard]] Value *operator->() { return &std::get<Value>(m_content); }
    [[nodiscard]] const Failure &failure() const { return std::get<Failure>(m_content); }

private:
    std::variant<Value, Failure> m_content;
};

} // namespace ctl
