// The documents the benchmarks read: a clip sidecar of about 2 KB and a document of
// about 1 MB with the same shape, built the same way on every run.
#pragma once

#include <string>

namespace qmbench
{
inline std::string Marker(int index)
{
    const std::string n = std::to_string(index);
    return "<LIBRARY_ITEM><NAME>Attack " + n + "</NAME><ID>{6B29FC40-CA47-1067-B31D-00DD010662D" +
           std::to_string(index % 10) + "}</ID><TYPE>1</TYPE><MARKER_TYPE>Marker.Event</MARKER_TYPE>" +
           "<LIBRARY_ITEM_CUE IN=\"" + std::to_string(10000000LL * index) + "\" OUT=\"" +
           std::to_string(10000000LL * index + 45000000) + "\" UNIT=\"RefTime\"/>" +
           "<KEYWORDS><CATEGORY name=\"Team\"><KEYWORD>Home &amp; Away</KEYWORD></CATEGORY>" +
           "<CATEGORY name=\"Action\"><KEYWORD>Pass</KEYWORD><KEYWORD>Shot on goal</KEYWORD></CATEGORY></KEYWORDS>" +
           "<Library.MDProperties><Property Name=\"Comment\"><![CDATA[Quick break down the left<br />cross]]>" +
           "</Property></Library.MDProperties></LIBRARY_ITEM>";
}

// markers: 3 gives a sidecar of about 2 KB; 1800 about 1 MB.
inline std::string Sidecar(int markers)
{
    std::string xml = "<LIBRARY_ITEM><NAME>Match 2026-11-01 first half</NAME>"
                      "<ID>{0A1B2C3D-1111-2222-3333-444455556666}</ID>"
                      "<VERSION subversion=\"1\">2.0</VERSION><TYPE>1</TYPE><THUMBNAIL_INDEX>0</THUMBNAIL_INDEX>"
                      "<DURATION>27000000000</DURATION>"
                      "<MediaSourceInfo FirstFrameAbsoluteTime=\"2026.11.01T15:30:00.000\"><AspectRatio cx=\"16\" cy=\"9\"/>"
                      "</MediaSourceInfo>";
    for (int i = 0; i < markers; ++i)
        xml += Marker(i);
    xml += "</LIBRARY_ITEM>";
    return xml;
}
} // namespace qmbench
