#include "NameReservation.h"

#include "NameReservations.h"

#include <QDir>
#include <utility>
#include <vector>

namespace tramix {

NameReservation::NameReservation(const QString& path)
    : requested_(QDir::cleanPath(path))
    , path_(NameReservations::unique(requested_))
    , held_(true) {}

NameReservation::~NameReservation() {
    giveBack();
}

NameReservation::NameReservation(NameReservation&& other) noexcept
    : requested_(std::move(other.requested_))
    , path_(std::move(other.path_))
    , held_(std::exchange(other.held_, false)) {}

NameReservation& NameReservation::operator=(NameReservation&& other) noexcept {
    if (this != &other) {
        giveBack();
        requested_ = std::move(other.requested_);
        path_ = std::move(other.path_);
        held_ = std::exchange(other.held_, false);
    }
    return *this;
}

QString NameReservation::commit(const Placer& place) {
    std::vector<NameReservation> tried; // kept to the end, so that no name is tried twice
    while (!place(path_)) {
        NameReservation next(requested_);
        tried.push_back(std::move(*this));
        *this = std::move(next);
    }
    giveBack();
    return path_;
}

void NameReservation::giveBack() {
    if (std::exchange(held_, false))
        NameReservations::release(path_);
}

} // namespace tramix
