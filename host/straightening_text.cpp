#include "host/straightening.h"

#include <iomanip>
#include <sstream>
#include <utility>

namespace host {

std::string straighteningAsText(const Json& data) {
    const auto number = [&data](const char* name) { return data.at(name).get<double>(); };
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << "pitch " << number("pitch_deg") << ", yaw "
         << number("yaw_deg") << ", roll " << number("roll_deg") << " degrees; focal length "
         << number("focal_mm") << " mm, " << data.at("focal_source").get<std::string>()
         << "\nright angles missed by " << number("missed_right_angles_deg") << " degrees in sum";
    for (const auto& [title, name] :
         {std::pair("marked corners", "marked"), std::pair("corrected corners", "corners")}) {
        text << '\n' << title;
        for (const Json& corner : data.at(name)) {
            text << ' ' << corner[0].get<double>() << ',' << corner[1].get<double>();
        }
    }
    text << '\n';
    if (data.contains("proposals")) {
        for (const Json& proposal : data.at("proposals")) {
            text << "proposed as a " << proposal.at("kind").get<std::string>() << ", score "
                 << proposal.at("score").get<double>() << ':';
            for (const Json& corner : proposal.at("corners")) {
                text << ' ' << corner[0].get<double>() << ',' << corner[1].get<double>();
            }
            text << '\n';
        }
    }
    for (const Json& remark : data.at("remarks")) {
        text << "note: " << remark.at("text").get<std::string>() << '\n';
    }
    return text.str();
}

} // namespace host
