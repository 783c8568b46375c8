#include <boost/filesystem/path.hpp>

#include <codecvt>
#include <locale>

namespace
{

// Boost's default is the code page of the system, which cannot say every name. Each library holds a
// Boost.Filesystem of its own, and sets this for itself when it is loaded.
struct Utf8Paths
{
    Utf8Paths()
    {
        boost::filesystem::path::imbue(
            std::locale(std::locale(), new std::codecvt_utf8_utf16<wchar_t>));
    }
};
const Utf8Paths utf8Paths;

} // namespace
