// What a window holds, told without a toolkit. The application describes its windows with these
// values; the framework of the platform lays them out and draws them in its own style.
#pragma once

#include <functional>
#include <string>
#include <variant>
#include <vector>

namespace quorvane::platform {

/// The application's own icon, drawn beside the heading.
struct IconElement {};

/// A line or paragraph of text; it wraps and never gets clipped.
struct TextElement {
    enum class Style { heading, body };
    std::string text;
    Style style = Style::body;
};

/// A check box with a sentence below it that says what ticking it does.
/// A "&" in the title marks the mnemonic.
struct CheckBoxElement {
    std::string outlet;
    std::string title;
    std::string explanation;
};

/// An indeterminate progress bar.
struct ProgressElement {
    std::string outlet;
    std::string accessibleName;
};

/// A push button. A "&" in the title marks the mnemonic.
struct Button {
    enum class Key { none, enter, escape };
    std::string title;
    Key key = Key::none;
    std::function<void()> action;
};

/// Push buttons in one row, in the platform's order for dialogs.
struct ButtonRow {
    std::vector<Button> buttons;
};

using Element = std::variant<IconElement, TextElement, CheckBoxElement, ProgressElement, ButtonRow>;

/// A window of fixed layout, from top to bottom.
struct WindowDescription {
    std::string title;
    std::vector<Element> elements;
    /// What the window's close button does; empty: the window cannot be closed by the user.
    std::function<void()> closeAction;
};

} // namespace quorvane::platform
