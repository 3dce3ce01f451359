// What the process of a worker does: the other side of workers/worker.h.
#pragma once

#include "host/output.h"

namespace host {

// Answers the requests on standard input until its end. Each is {"words":[...]}, a command line
// after the program's name, and an "id", any number. The answer has
//   id          the request's
//   status      the exit status that the command line has: 0, 1 or 2
//   data        the object that it prints with --json; null without one
//   text        what it prints otherwise
//   messages    its lines on standard error, without "tarvix: "
//   images     that were written: "file", "width", "height"
//   seconds, cpuSeconds
// With "draft":true, the image of the result is a quick JPEG, only to be looked at.
// What is printed in any other way goes to standard error. Throws Failure if the answers cannot be
// written.
//   threads     that OpenCV may use
//   keepImages  whether decoded images are kept for requests that read them again
void serveRequests(int threads, bool keepImages);

// The answer to one request.
//   onStep  gets the steps of long work
Json answerTo(const Json& request, const Output::OnStep& onStep);

} // namespace host
