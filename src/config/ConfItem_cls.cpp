#include "config/ConfItem_cls.h"

#include "config/TessanAssert.h"
#include "config/TextFormat.h"

namespace {

const wchar_t* const kSkip = L"!!SKIP!!";

std::wstring UnescapeNewlines(const std::wstring& text)
{
    std::wstring out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == L'\\' && i + 1 < text.size() && text[i + 1] == L'n') {
            out.push_back(L'\n');
            ++i;
        } else {
            out.push_back(text[i]);
        }
    }
    return out;
}

std::wstring EscapeNewlines(const std::wstring& text)
{
    std::wstring out;
    out.reserve(text.size());
    for (wchar_t c : text) {
        if (c == L'\n')
            out += L"\\n";
        else
            out.push_back(c);
    }
    return out;
}

// Element formats shared by scalar and array items.
std::wstring Format(bool v) { return WStrPrintf("%d", v ? 1 : 0); }
std::wstring Format(int32_t v) { return WStrPrintf("%d", v); }
std::wstring Format(uint32_t v) { return WStrPrintf("%u", v); }
std::wstring Format(float v) { return WStrPrintf("%f", static_cast<double>(v)); }
std::wstring Format(double v) { return WStrPrintf("%g", v); }

template <typename T>
T Parse(const std::wstring& text);
template <>
bool Parse<bool>(const std::wstring& text) { return ParseLong(text) != 0; }
template <>
int32_t Parse<int32_t>(const std::wstring& text) { return static_cast<int32_t>(ParseLong(text)); }
template <>
uint32_t Parse<uint32_t>(const std::wstring& text)
{
    // strtol's value taken modulo 2^32.
    return static_cast<uint32_t>(static_cast<unsigned long>(ParseLong(text)));
}
template <>
float Parse<float>(const std::wstring& text) { return static_cast<float>(ParseDouble(text)); }
template <>
double Parse<double>(const std::wstring& text) { return ParseDouble(text); }

} // namespace

// ---- base ----

bool ConfItem_cls::ReadStrLineBase(const std::wstring& line)
{
    if (mStrKey.empty())
        return false;
    size_t pos = line.find(mStrKey);
    if (pos == std::wstring::npos)
        return false;
    mStrValue = UnescapeNewlines(StripLineEnd(std::wstring_view(line).substr(pos + mStrKey.size())));
    return true;
}

void ConfItem_cls::ReplaceSeparator()
{
    std::wstring out;
    out.reserve(mStrValue.size() + 8);
    for (wchar_t c : mStrValue) {
        if (c == L'\\') {
            out.push_back(L'/');
        } else if (c == L' ') {
            out += L"\\ ";
        } else {
            out.push_back(c);
        }
    }
    mStrValue = out;
}

// ---- scalar items ----

#define TESSAN_SCALAR_ITEM(Class, member, T)                                                       \
    bool Class::ReadStrLine(const std::wstring& line)                                              \
    {                                                                                              \
        if (!ReadStrLineBase(line))                                                                \
            return false;                                                                          \
        member = Parse<T>(mStrValue);                                                              \
        return true;                                                                               \
    }                                                                                              \
    std::wstring Class::Serialize() const { return mStrKey + Format(member) + L"\n"; }             \
    void Class::SetItem(const std::wstring& key, const std::wstring& defaultText)                  \
    {                                                                                              \
        mStrKey = key;                                                                             \
        mStrValue = defaultText;                                                                   \
        member = Parse<T>(defaultText);                                                            \
    }                                                                                              \
    std::wstring Class::GetItemStr() const { return Format(member); }

TESSAN_SCALAR_ITEM(ConfItemBOOL_cls, mbValue, bool)
TESSAN_SCALAR_ITEM(ConfItemINT_cls, miValue, int32_t)
TESSAN_SCALAR_ITEM(ConfItemUINT_cls, muValue, uint32_t)
TESSAN_SCALAR_ITEM(ConfItemFLOAT_cls, mfValue, float)
TESSAN_SCALAR_ITEM(ConfItemDOUBLE_cls, mdValue, double)
#undef TESSAN_SCALAR_ITEM

bool ConfItemSTR_cls::ReadStrLine(const std::wstring& line) { return ReadStrLineBase(line); }

std::wstring ConfItemSTR_cls::Serialize() const
{
    if (mStrValue == kSkip)
        return L"";
    return mStrKey + EscapeNewlines(mStrValue) + L"\n";
}

void ConfItemSTR_cls::SetItem(const std::wstring& key, const std::wstring& defaultText)
{
    mStrKey = key;
    mStrValue = defaultText;
}

std::wstring ConfItemSTR_cls::GetItemStr() const { return mStrValue; }

bool ConfItemSTRWXGUI_cls::ReadStrLine(const std::wstring& line)
{
    if (!ReadStrLineBase(line))
        return false;
    if (mPush)
        mPush(mStrValue);
    return true;
}

std::wstring ConfItemSTRWXGUI_cls::Serialize() const
{
    if (mPull) {
        // The text control is the master copy while it is bound.
        auto* self = const_cast<ConfItemSTRWXGUI_cls*>(this);
        self->mStrValue = mPull();
    }
    return ConfItemSTR_cls::Serialize();
}

void ConfItemSTRWXGUI_cls::Set(const std::wstring& v)
{
    mStrValue = v;
    if (mPush)
        mPush(mStrValue);
}

void ConfItemSTRWXGUI_cls::Bind(std::function<std::wstring()> pull, std::function<void(const std::wstring&)> push)
{
    mPull = std::move(pull);
    mPush = std::move(push);
    if (mPush)
        mPush(mStrValue);
}

void ConfItemSTRWXGUI_cls::Unbind()
{
    mPull = nullptr;
    mPush = nullptr;
}

// ---- arrays ----

int ConfArray_cls::CountDimension(const std::wstring& text)
{
    int dimension = static_cast<int>(SplitBlanks(text).size());
    TESSAN_ASSERT(dimension < 4, "SRC/CONFITEM/clsConfItem");
    return dimension;
}

template <typename T>
void ConfItemArray_cls<T>::ParseValues(const std::wstring& text)
{
    std::vector<std::wstring> parts = SplitBlanks(text);
    for (int i = 0; i < miDimension; ++i)
        mValues[static_cast<size_t>(i)] =
            static_cast<size_t>(i) < parts.size() ? Parse<T>(parts[static_cast<size_t>(i)]) : T{};
}

template <typename T>
bool ConfItemArray_cls<T>::ReadStrLine(const std::wstring& line)
{
    if (!ReadStrLineBase(line))
        return false;
    ParseValues(mStrValue);
    return true;
}

template <typename T>
std::wstring ConfItemArray_cls<T>::GetItemStr() const
{
    std::wstring out;
    for (int i = 0; i < miDimension; ++i) {
        if (i > 0)
            out += L" ";
        out += Format(mValues[static_cast<size_t>(i)]);
    }
    return out;
}

template <typename T>
std::wstring ConfItemArray_cls<T>::Serialize() const
{
    return mStrKey + GetItemStr() + L"\n";
}

template <typename T>
void ConfItemArray_cls<T>::SetItem(const std::wstring& key, const std::wstring& defaultText)
{
    mStrKey = key;
    mStrValue = defaultText;
    miDimension = CountDimension(defaultText);
    if (miDimension > 3)
        miDimension = 3; // only reached when the assertion handler lets execution go on
    mValues.fill(T{});
    ParseValues(defaultText);
}

template class ConfItemArray_cls<bool>;
template class ConfItemArray_cls<int32_t>;
template class ConfItemArray_cls<uint32_t>;
template class ConfItemArray_cls<float>;
