#pragma once
// Configuration items: one persistent setting each, written as one text line "key" + value.
// Recognition searches the key anywhere in the line (deliberately unanchored), so a new key must
// never be the tail of an existing one.
//
// Sections: base item; scalar items (BOOL, INT, UINT, FLOAT, DOUBLE, STR, STRWXGUI); array items.
#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

class ConfItem_cls {
public:
    virtual ~ConfItem_cls() = default;
    /// Recognises `line` (one line, no newline needed); takes its value and returns true when the
    /// key occurs anywhere in it. An unrecognised line leaves the item unchanged.
    virtual bool ReadStrLine(const std::wstring& line) = 0;
    /// The item as one line: key, formatted value, "\n" (a "!!SKIP!!" string item gives "").
    virtual std::wstring Serialize() const = 0;
    /// Sets the key (with its "=") and the default value given as text.
    virtual void SetItem(const std::wstring& key, const std::wstring& defaultText) = 0;
    /// The value as text, in the item's own format (no key, no newline).
    virtual std::wstring GetItemStr() const = 0;

    /// The common recognition step: finds the key anywhere in `line` and stores everything after
    /// its first occurrence (with each "\\n" turned into a newline) as the value text.
    bool ReadStrLineBase(const std::wstring& line);
    /// Rewrites the value text for use as a path: "\\" -> "/", and a "\\" before every blank.
    void ReplaceSeparator();

    const std::wstring& GetKey() const { return mStrKey; }
    const std::wstring& GetValueText() const { return mStrValue; }

protected:
    std::wstring mStrKey;
    std::wstring mStrValue;
};

class ConfItemBOOL_cls : public ConfItem_cls {
public:
    bool ReadStrLine(const std::wstring& line) override;
    std::wstring Serialize() const override;
    void SetItem(const std::wstring& key, const std::wstring& defaultText) override;
    std::wstring GetItemStr() const override;
    bool Get() const { return mbValue; }
    void Set(bool v) { mbValue = v; }
    operator bool() const { return mbValue; }

private:
    bool mbValue = false;
};

class ConfItemINT_cls : public ConfItem_cls {
public:
    bool ReadStrLine(const std::wstring& line) override;
    std::wstring Serialize() const override;
    void SetItem(const std::wstring& key, const std::wstring& defaultText) override;
    std::wstring GetItemStr() const override;
    int32_t Get() const { return miValue; }
    void Set(int32_t v) { miValue = v; }
    operator int32_t() const { return miValue; }

private:
    int32_t miValue = 0;
};

class ConfItemUINT_cls : public ConfItem_cls {
public:
    bool ReadStrLine(const std::wstring& line) override;
    std::wstring Serialize() const override;
    void SetItem(const std::wstring& key, const std::wstring& defaultText) override;
    std::wstring GetItemStr() const override;
    uint32_t Get() const { return muValue; }
    void Set(uint32_t v) { muValue = v; }
    operator uint32_t() const { return muValue; }

private:
    uint32_t muValue = 0;
};

class ConfItemFLOAT_cls : public ConfItem_cls {
public:
    bool ReadStrLine(const std::wstring& line) override;
    std::wstring Serialize() const override;
    void SetItem(const std::wstring& key, const std::wstring& defaultText) override;
    std::wstring GetItemStr() const override;
    float Get() const { return mfValue; }
    void Set(float v) { mfValue = v; }
    operator float() const { return mfValue; }

private:
    float mfValue = 0.0f;
};

class ConfItemDOUBLE_cls : public ConfItem_cls {
public:
    bool ReadStrLine(const std::wstring& line) override;
    std::wstring Serialize() const override;
    void SetItem(const std::wstring& key, const std::wstring& defaultText) override;
    std::wstring GetItemStr() const override;
    double Get() const { return mdValue; }
    void Set(double v) { mdValue = v; }
    operator double() const { return mdValue; }

private:
    double mdValue = 0.0;
};

class ConfItemSTR_cls : public ConfItem_cls {
public:
    bool ReadStrLine(const std::wstring& line) override;
    std::wstring Serialize() const override;
    void SetItem(const std::wstring& key, const std::wstring& defaultText) override;
    std::wstring GetItemStr() const override;
    const std::wstring& Get() const { return mStrValue; }
    virtual void Set(const std::wstring& v) { mStrValue = v; }
};

/// A string item bound to a text control: the GUI installs a pull function (control -> item,
/// called before writing) and a push function (item -> control, called after reading).
class ConfItemSTRWXGUI_cls : public ConfItemSTR_cls {
public:
    bool ReadStrLine(const std::wstring& line) override;
    std::wstring Serialize() const override;
    void Set(const std::wstring& v) override;
    void Bind(std::function<std::wstring()> pull, std::function<void(const std::wstring&)> push);
    void Unbind();

private:
    std::function<std::wstring()> mPull;
    std::function<void(const std::wstring&)> mPush;
};

/// Shared helpers of the array items.
class ConfArray_cls {
public:
    /// Counts the blank-separated parts of `text`; more than 3 is a programming error
    /// ("dimension < 4", SRC/CONFITEM/clsConfItem).
    static int CountDimension(const std::wstring& text);
};

/// Fixed-length array item; the length is the number of parts of the default text (1..3).
template <typename T>
class ConfItemArray_cls : public ConfItem_cls, public ConfArray_cls {
public:
    bool ReadStrLine(const std::wstring& line) override;
    std::wstring Serialize() const override;
    void SetItem(const std::wstring& key, const std::wstring& defaultText) override;
    std::wstring GetItemStr() const override;
    int GetDimension() const { return miDimension; }
    T Get(int i) const { return mValues[static_cast<size_t>(i)]; }
    void Set(int i, T v) { mValues[static_cast<size_t>(i)] = v; }
    T operator[](int i) const { return Get(i); }

private:
    void ParseValues(const std::wstring& text);
    int miDimension = 0;
    std::array<T, 3> mValues{};
};

using ConfItemBOOLARRAY_cls = ConfItemArray_cls<bool>;
using ConfItemINTARRAY_cls = ConfItemArray_cls<int32_t>;
using ConfItemUINTARRAY_cls = ConfItemArray_cls<uint32_t>;
using ConfItemFLOATARRAY_cls = ConfItemArray_cls<float>;

extern template class ConfItemArray_cls<bool>;
extern template class ConfItemArray_cls<int32_t>;
extern template class ConfItemArray_cls<uint32_t>;
extern template class ConfItemArray_cls<float>;
