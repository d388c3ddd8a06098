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
    /// A note is secondary: smaller in weight than the body, still easy to read.
    enum class Style { heading, body, note };
    std::string text;
    Style style = Style::body;
};

/// A check box with a sentence below it that says what ticking it does; off at first. Check boxes
/// that follow one another form a group. A "&" in the title marks the mnemonic.
struct CheckBoxElement {
    std::string outlet;
    std::string title;
    std::string explanation;
};

/// An indeterminate progress bar.
struct ProgressElement {
    std::string outlet;
    std::string accessibleName;
    std::string description;
};

/// A push button. A "&" in the title marks the mnemonic.
struct Button {
    /// The key that presses the button from anywhere in the window. Return always presses the
    /// button that has the keyboard.
    enum class Key { none, enter, escape };
    std::string title;
    /// What pressing it does; assistive technologies read it after the title.
    std::string description;
    Key key = Key::none;
    /// Drawn as the window's main action.
    bool prominent = false;
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
    /// What the window's close button does, and the Escape key where no button has it; empty: the
    /// user cannot close the window.
    std::function<void()> closeAction;
};

} // namespace quorvane::platform
