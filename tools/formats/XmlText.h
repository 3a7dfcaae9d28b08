#pragma once

#include <string>

namespace tavrix::formats
{

/// Text as it stands in an attribute of XML, between double quotes; what XML cannot hold becomes a blank.
inline std::string xmlText(const std::string& text)
{
    std::string xml;
    for (const char c : text)
        if (c == '&' || c == '<' || c == '"')
            xml += c == '&' ? "&amp;" : c == '<' ? "&lt;" : "&quot;";
        else
            xml += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
    return xml;
}

}  // namespace tavrix::formats
