# Never read: the version beside it is refused.
message(FATAL_ERROR "OpenCV 5 was accepted")
