#include "platform/simulated/JsonText.h"

#include "contracts/zelKit/Text.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace Platform
{

namespace
{

using Json = nlohmann::json;

constexpr std::size_t MostValues = 4'000'000;

/// Deeper than any device tree that is taken: each of its levels has an array and an object.
constexpr std::size_t DeepestNesting = 160;

std::string LineAndColumn(const std::string& text, std::size_t position)
{
    const std::size_t end = std::min(position == 0 ? 0 : position - 1, text.size());
    const auto line =
        std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), '\n');
    const std::size_t lineStart = end == 0 ? std::string::npos : text.rfind('\n', end - 1);
    const std::size_t column = lineStart == std::string::npos ? end : end - lineStart - 1;
    return "line " + std::to_string(line + 1) + ", column " + std::to_string(column + 1);
}

/// From the leaves up, so that nothing with content is left to a destructor.
void TakeApart(Json& value)
{
    if (!value.is_structured())
        return;
    for (Json& child : value)
        TakeApart(child);
    value.clear();
}

/// Takes the reader's events and builds the values. A handler of our own, since the library's keeps
/// the last of two members with one name and nests as deep as it is told.
class Builder : public nlohmann::json_sax<Json>
{
  public:
    Builder(const std::string& text, const ItemReader& reader) : m_Text(text), m_Reader(reader) {}

    JsonDocument Take() { return std::move(m_Document); }

    bool null() override { return Put(nullptr); }
    bool boolean(bool value) override { return Put(value); }
    bool number_integer(number_integer_t value) override { return Put(value); }
    bool number_unsigned(number_unsigned_t value) override { return Put(value); }
    bool number_float(number_float_t value, const string_t&) override { return Put(value); }
    bool string(string_t& value) override { return Put(std::move(value)); }
    bool binary(binary_t&) override { return false; }

    bool start_object(std::size_t) override { return Open(Json::value_t::object); }
    bool start_array(std::size_t) override { return Open(Json::value_t::array); }
    bool end_object() override { return Close(); }
    bool end_array() override { return Close(); }

    bool key(string_t& name) override
    {
        if (m_CommentDepth != 0)
            return true;
        Json& object = *m_Open.back();
        const auto [member, isNew] = object.emplace(name, nullptr);
        m_Names.back() = name;
        if (!isNew)
            throw Complaint(Place(), "this name stands twice in its object", "remove one of them");
        m_Member = IsComment(name) ? nullptr : &*member;
        return true;
    }

    bool parse_error(std::size_t position, const std::string&,
                     const nlohmann::detail::exception& error) override
    {
        // The library's text begins with its own name and place; ours are the better ones.
        std::string_view reason = error.what();
        const std::size_t column = reason.find(", column ");
        const std::size_t start =
            column == std::string_view::npos ? reason.find("] ") : reason.find(": ", column);
        if (start != std::string_view::npos)
            reason.remove_prefix(start + 2);
        throw Complaint(LineAndColumn(m_Text, position), Printable(reason, 160),
                        "correct the JSON text there");
    }

  private:
    template <class Value> bool Put(Value&& value)
    {
        if (!IsInComment())
        {
            Add(Json(std::forward<Value>(value)));
            Complete();
        }
        return true;
    }

    /// A value is whole. One that a reader takes is not kept.
    void Complete()
    {
        constexpr std::size_t inTopList = 2; // open: the top level and one of its lists
        if (m_Open.size() != inTopList || !m_Open.back()->is_array() ||
            m_Names.front() != m_Reader.list)
            return;
        Json& items = *m_Open.back();
        m_Reader.read(m_Document.root, items.size() - 1);
        TakeApart(items.back());
        items.back() = nullptr;
        m_Values = m_ValuesBefore;
    }

    /// Whether the value that comes belongs to a comment.
    bool IsInComment() const
    {
        return m_CommentDepth != 0 ||
               (!m_Open.empty() && m_Open.back()->is_object() && m_Member == nullptr);
    }

    Json* Add(Json value)
    {
        if (++m_Values > MostValues)
            throw Complaint(Place(),
                            "more than " + std::to_string(MostValues) + " values besides the disks",
                            "make the file smaller");
        if (m_Open.empty())
        {
            m_Document.root = std::move(value);
            return &m_Document.root;
        }
        Json& container = *m_Open.back();
        if (container.is_array())
        {
            container.push_back(std::move(value));
            return &container.back();
        }
        *m_Member = std::move(value);
        return m_Member;
    }

    bool Open(Json::value_t kind)
    {
        if (IsInComment())
        {
            ++m_CommentDepth;
            return true;
        }
        if (m_Open.size() == 2)
            m_ValuesBefore = m_Values;
        Json* added = Add(Json(kind));
        if (m_Open.size() == DeepestNesting)
            throw Complaint(Place(),
                            "nested deeper than " + std::to_string(DeepestNesting) + " levels",
                            "give the device tree fewer levels");
        m_Open.push_back(added);
        m_Names.emplace_back();
        return true;
    }

    bool Close()
    {
        if (m_CommentDepth != 0)
        {
            --m_CommentDepth;
            return true;
        }
        m_Open.pop_back();
        m_Names.pop_back();
        Complete();
        return true;
    }

    /// Where the reader is.
    std::string Place() const
    {
        std::string place;
        for (std::size_t depth = 0; depth < m_Open.size(); ++depth)
        {
            if (m_Open[depth]->is_array())
            {
                const std::size_t size = m_Open[depth]->size();
                place += "[" + std::to_string(size == 0 ? 0 : size - 1) + "]";
            }
            else
                place += (place.empty() ? "" : ".") + m_Names[depth];
        }
        return place;
    }

    const std::string& m_Text;
    const ItemReader& m_Reader;
    JsonDocument m_Document;
    std::size_t m_Values = 0;       ///< in the document
    std::size_t m_ValuesBefore = 0; ///< the value under way inside a member of the top level
    std::vector<Json*> m_Open;
    std::vector<std::string> m_Names; ///< of the member under way in each open object
    Json* m_Member = nullptr;         ///< its place; null for a comment's
    std::size_t m_CommentDepth = 0;   ///< open objects and arrays inside a comment
};

} // namespace

Complaint::Complaint(std::string place, std::string what, const std::string& remedy)
    : std::runtime_error(what + "; " + remedy), m_Place(Printable(place, 240))
{
}

std::string Complaint::Line() const
{
    return m_Place + ": " + what();
}

std::string Printable(std::string_view text, std::size_t limit)
{
    std::string shown;
    while (!text.empty())
    {
        if (shown.size() >= limit)
            return shown + "...";
        const std::size_t length = ZKT::Misc::DecodeUtf8(text, 0).length;
        const std::string_view character = text.substr(0, std::max<std::size_t>(length, 1));
        shown += ZKT::Misc::Printable(character);
        text.remove_prefix(character.size());
    }
    return shown;
}

bool IsComment(const std::string& name)
{
    return name == "comment" || name.starts_with('_');
}

JsonDocument::~JsonDocument()
{
    TakeApart(root);
}

JsonDocument ParseJson(const std::string& text, const ItemReader& reader)
{
    Builder builder(text, reader);
    Json::sax_parse(text, &builder);
    return builder.Take();
}

} // namespace Platform
