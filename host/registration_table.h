// Files that keep how the images of a set lie to the first, so that the same can be done to other
// images of the same cameras.
#pragma once

#include "host/result.h"
#include "host/set_matching.h"

#include <string>
#include <vector>

namespace host {

// A matrix of doubles as rows of numbers.
Json rowsAsJson(const cv::Mat_<double>& matrix);

// The table as JSON: the canvas, and for each image its file, size and homography.
std::string tableText(const PlacedSet& set);

// Reads such a file, for the files that it was made of or for others: the first one in the place of
// the first, and so on. Throws Failure if it is missing, is not such a table, is of another number
// of images, or has one of the files in another place, however its name is written.
//   files  as many as the table has
PlacedSet readTable(const std::string& path, const std::vector<std::string>& files);

} // namespace host
