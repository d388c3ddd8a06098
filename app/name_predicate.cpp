#include "app/name_predicate.h"

#include <algorithm>
#include <optional>

namespace brightkeel {
namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

bool equalIgnoringCase(char a, char b) { return lower(a) == lower(b); }

bool contains(std::string_view name, std::string_view text) {
    return std::search(name.begin(), name.end(), text.begin(), text.end(), equalIgnoringCase) !=
           name.end();
}

bool beginsWith(std::string_view name, std::string_view text) {
    return name.size() >= text.size() &&
           std::equal(text.begin(), text.end(), name.begin(), equalIgnoringCase);
}

bool endsWith(std::string_view name, std::string_view text) {
    return name.size() >= text.size() &&
           std::equal(text.rbegin(), text.rend(), name.rbegin(), equalIgnoringCase);
}

/// Evaluates while it reads, from left to right; empty results mean that the text is malformed.
class Evaluation {
public:
    Evaluation(std::string_view name, std::string_view predicate) : name_(name), rest_(predicate) {}

    std::optional<bool> whole() {
        const auto result = alternatives();
        return rest_.empty() ? result : std::nullopt;
    }

private:
    std::optional<bool> alternatives() {
        auto result = conjunction();
        while (result && take("OR ")) {
            const auto next = conjunction();
            if (!next) return std::nullopt;
            result = *result || *next;
        }
        return result;
    }

    std::optional<bool> conjunction() {
        auto result = negation();
        while (result && take("AND ")) {
            const auto next = negation();
            if (!next) return std::nullopt;
            result = *result && *next;
        }
        return result;
    }

    std::optional<bool> negation() {
        if (!take("NOT ")) return comparison();
        const auto inner = negation();
        return inner ? std::optional(!*inner) : std::nullopt;
    }

    std::optional<bool> comparison() {
        if (!take("SELF ")) return std::nullopt;
        if (take("BEGINSWITH[c] ")) return compared(beginsWith);
        if (take("ENDSWITH[c] ")) return compared(endsWith);
        if (take("CONTAINS[c] ")) return compared(contains);
        return std::nullopt;
    }

    std::optional<bool> compared(bool (*compare)(std::string_view, std::string_view)) {
        if (!take("'")) return std::nullopt;
        const std::size_t quote = rest_.find('\'');
        if (quote == std::string_view::npos) return std::nullopt;
        const bool result = compare(name_, rest_.substr(0, quote));
        rest_.remove_prefix(quote + 1);
        take(" ");
        return result;
    }

    bool take(std::string_view word) {
        if (!rest_.starts_with(word)) return false;
        rest_.remove_prefix(word.size());
        return true;
    }

    std::string_view name_;
    std::string_view rest_;
};

} // namespace

bool nameMatches(std::string_view name, std::string_view predicate) {
    return Evaluation(name, predicate).whole().value_or(false);
}

} // namespace brightkeel
