#include "tarnis/Src/tarnis/Trace.h"

#include <string_view>

namespace NAMESPACE_tarnis
{
namespace
{

std::string_view FolderOf(std::string_view file)
{
    // The compiler may have been given an absolute path.
    if (const auto start = file.rfind("tarnis/Src/"); start != std::string_view::npos)
        file.remove_prefix(start);
    const auto slash = file.find_last_of("/\\");
    return slash == std::string_view::npos ? std::string_view() : file.substr(0, slash);
}

std::string_view QualifiedNameOf(std::string_view signature)
{
    if (const auto arguments = signature.find('('); arguments != std::string_view::npos)
        signature = signature.substr(0, arguments);
    if (const auto result = signature.find_last_of(" *&"); result != std::string_view::npos)
        signature.remove_prefix(result + 1);
    return signature;
}

} // namespace

TracePlace::TracePlace(const SourceLocation& where)
    : folder(FolderOf(where.file_name())), function(QualifiedNameOf(where.function_name()))
{
}

} // namespace NAMESPACE_tarnis
