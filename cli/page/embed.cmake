# Puts the style, the chart library and the scripts into the page, and the page into a C++ file.
# usage: cmake -D FOLDER=cli/page -D LIBRARY=chart.min.js -D OUTPUT=FILE.cpp -P embed.cmake

file(READ ${FOLDER}/report.html page)
file(READ ${FOLDER}/report.css style)
file(READ ${LIBRARY} library)
set(script "")
foreach(part elements charts times report)
    file(READ ${FOLDER}/${part}.js text)
    string(APPEND script "${text}")
endforeach()

foreach(part style library script)
    string(FIND "${${part}}" "</script" end)
    if(NOT end EQUAL -1)
        message(FATAL_ERROR "The ${part} of the page would end the element that it is in.")
    endif()
    string(REPLACE "@${part}@" "${${part}}" page "${page}")
endforeach()

string(FIND "${page}" "@data@" place)
string(SUBSTRING "${page}" 0 ${place} before)
string(REPLACE "@data@" "" after "${page}")
string(SUBSTRING "${after}" ${place} -1 after)

file(WRITE ${OUTPUT} "#include \"page/template.h\"\n
namespace cli {\n
const std::string_view kPageBeforeData = R\"~page~(${before})~page~\";
const std::string_view kPageAfterData = R\"~page~(${after})~page~\";\n
}  // namespace cli\n")
