// The desktop input source on X11: XFixes reports who owns the drag selection, XInput2 raw events
// report buttons and keys (they arrive even during another client's drag grab), and
// XQueryPointer reads the button and modifier state. Xlib stays inside the source file.
#pragma once

#include "Platform/DesktopInput.h"

#include <memory>

namespace tramix {

class X11DesktopInput : public DesktopInput {
public:
    X11DesktopInput();
    ~X11DesktopInput() override;

    bool start() override;
    void stop() override;
    PointerState pointer() override;
    std::uint64_t dragChangeCount() override;
    std::optional<QStringList> dragFilePaths() override;
    void setWatchingKeys(bool watching) override;

private:
    struct Connection;
    std::unique_ptr<Connection> connection_;
};

} // namespace tramix
