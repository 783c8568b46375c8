// JSON text in, values out, and a complaint that knows the place.
#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Platform
{

/// What is wrong with a file, where, and what to do about it.
class Complaint : public std::runtime_error
{
  public:
    Complaint(std::string place, std::string what, const std::string& remedy);

    /// "place: what is wrong; what to do".
    std::string Line() const;

  private:
    std::string m_Place;
};

/// A text fit for one line of a message: made safe for a terminal, cut to a length.
std::string Printable(std::string_view text, std::size_t limit);

/// Whether a member is for people only: its name is "comment" or begins with "_".
bool IsComment(const std::string& name);

/// Owns values of bounded nesting. Takes them apart itself: the library's destructor asks for
/// memory, and where that has run out it would end the process.
class JsonDocument
{
  public:
    JsonDocument() = default;
    ~JsonDocument();
    JsonDocument(JsonDocument&&) = default;
    JsonDocument& operator=(JsonDocument&&) = delete;

    nlohmann::json root;
};

/// Reads the items of one list of the top level while the text is parsed, so that no more than one
/// of them is in memory.
struct ItemReader
{
    std::string_view list;
    /// For each item in turn, which is null in the document afterwards.
    std::function<void(const nlohmann::json& root, std::size_t position)> read;
};

/// Reads JSON of bounded nesting and size. The values of comments are left out. Throws a Complaint
/// for what is none, and for a name that an object holds twice.
JsonDocument ParseJson(const std::string& text, const ItemReader& reader);

} // namespace Platform
