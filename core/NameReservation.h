// One result's name, promised to it by the process's table of names until the result is in place
// under it; dropped unused, the name is free again.
#pragma once

#include <QString>
#include <functional>

namespace tramix {

class NameReservation {
public:
    // Puts the finished result under `name` and returns true, or returns false when that name
    // exists already. It must never replace anything, and throws on any other failure.
    using Placer = std::function<bool(const QString& name)>;

    // The first free variant of `path` ("{base} {n}{ext}", n from 2).
    explicit NameReservation(const QString& path);
    ~NameReservation();
    NameReservation(NameReservation&& other) noexcept;
    NameReservation& operator=(NameReservation&& other) noexcept;
    NameReservation(const NameReservation&) = delete;
    NameReservation& operator=(const NameReservation&) = delete;

    // The name promised; after `commit`, the name the result got.
    const QString& path() const { return path_; }

    // Puts the result in place through `place`; while another program has taken the name tried,
    // the next free one is tried. Returns the name the result got, which from then on is held by
    // the result itself rather than by the table.
    QString commit(const Placer& place);

private:
    void giveBack();

    QString requested_; // where the numbering starts
    QString path_;
    bool held_ = false;
};

} // namespace tramix
