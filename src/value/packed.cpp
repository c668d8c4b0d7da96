#include "value/packed.h"

#include <algorithm>
#include <optional>

#include "value/text.h"

namespace zelva::value {

namespace {

const char* copy_of(const std::string& text) {
    char* const copy = new char[text.size()];
    std::copy(text.begin(), text.end(), copy);
    return copy;
}

}  // namespace

Packed::Packed(const Value& value) : type_(static_cast<std::uint8_t>(value.index())), storage_(Storage::inside) {
    const auto own_text = [this](const std::string& text) {
        content_.text = copy_of(text);
        size_ = static_cast<std::uint32_t>(text.size());
        storage_ = Storage::own_text;
    };
    switch (type()) {
        case ZELVA_CORE_SETTING_TYPE_STRING:
            own_text(std::get<std::string>(value));
            return;
        case ZELVA_CORE_SETTING_TYPE_JSON:
            own_text(std::get<Json>(value).text);
            return;
        case ZELVA_CORE_SETTING_TYPE_INT:
            content_.integer = std::get<int>(value);
            return;
        case ZELVA_CORE_SETTING_TYPE_BOOL:
            content_.truth = std::get<bool>(value);
            return;
        case ZELVA_CORE_SETTING_TYPE_DOUBLE:
            content_.real = std::get<double>(value);
            return;
        default:
            // no test: the compiler's own, whether memory is to be given back after an exception.
            content_.value = new Value(value);
            storage_ = Storage::own_value;
    }
}

void Packed::release() {
    if (storage_ == Storage::own_text) {
        // no test: the compiler's own, whether there is anything to delete. A value that owns a text has one.
        delete[] content_.text;
    } else {
        // no test: as above.
        delete content_.value;
    }
}

void Packed::refer_to(std::string_view text, Type type) {
    content_.text = text.data();
    size_ = static_cast<std::uint32_t>(text.size());
    type_ = static_cast<std::uint8_t>(type);
    storage_ = Storage::in_text;
}

Packed Packed::read(std::string_view text) {
    const std::string_view untagged = text.substr(std::min<std::size_t>(text.size(), 1));
    Packed packed;
    if (begins_with(text, "S")) {
        packed.refer_to(untagged, ZELVA_CORE_SETTING_TYPE_STRING);
    } else if (const std::optional<Value> value = read_value(text)) {
        const Json* const json = std::get_if<Json>(&*value);
        if (json != nullptr && json->text == untagged) {
            packed.refer_to(untagged, ZELVA_CORE_SETTING_TYPE_JSON);
        } else {
            packed = Packed(*value);
        }
    }
    return packed;
}

Value Packed::value() const {
    switch (type()) {
        case ZELVA_CORE_SETTING_TYPE_STRING:
            return std::string(get<std::string>());
        case ZELVA_CORE_SETTING_TYPE_JSON:
            return Json{std::string(get<Json>())};
        case ZELVA_CORE_SETTING_TYPE_INT:
            return content_.integer;
        case ZELVA_CORE_SETTING_TYPE_BOOL:
            return content_.truth;
        case ZELVA_CORE_SETTING_TYPE_DOUBLE:
            return content_.real;
        default:
            return *content_.value;
    }
}

bool is_same(const Packed& left, const Value& right) {
    return left.type() == type_of(right) && is_same(left.value(), right);
}

}  // namespace zelva::value
