#pragma once

#include <QString>

#include <utility>

// Outcome of one reachability probe. The kinds keep their given order: error(message), ready, timeout,
// closed. `message` is set only for Error.
struct SelectResult
{
    enum class Kind { Error, Ready, Timeout, Closed };

    Kind kind = Kind::Timeout;
    QString message;

    static SelectResult error(QString text) { return {Kind::Error, std::move(text)}; }
    static SelectResult ready() { return {Kind::Ready, {}}; }
    static SelectResult timeout() { return {Kind::Timeout, {}}; }
    static SelectResult closed() { return {Kind::Closed, {}}; }

    bool isError() const { return kind == Kind::Error; }
    bool isReady() const { return kind == Kind::Ready; }
    bool isTimeout() const { return kind == Kind::Timeout; }
    bool isClosed() const { return kind == Kind::Closed; }

    friend bool operator==(const SelectResult &, const SelectResult &) = default;
};
