# tarvix_workbench_requests: reads what a stranger may send, and says what is run for it; all but the syntax of HTTP,
# which is Boost's. It knows the operations as data, so that its fuzzer is built without the host.
set(requests_folder "${CMAKE_CURRENT_LIST_DIR}")
add_library(tarvix_workbench_requests STATIC)
foreach(source IN ITEMS http names output_names plan request scaling session)
  target_sources(tarvix_workbench_requests PRIVATE "${requests_folder}/${source}.cpp")
endforeach()
target_link_libraries(tarvix_workbench_requests PUBLIC Tarvix ${OpenCV_LIBS} nlohmann_json::nlohmann_json tarvix_links
                                                       tarvix_paths PRIVATE tarvix_options)
target_include_directories(tarvix_workbench_requests PUBLIC "${PROJECT_SOURCE_DIR}")
target_include_directories(tarvix_workbench_requests SYSTEM PUBLIC ${OpenCV_INCLUDE_DIRS})
if(TARGET tarvix_workers)
  target_link_libraries(tarvix_workbench_requests PRIVATE tarvix_workers)
else()
  target_sources(tarvix_workbench_requests PRIVATE "${requests_folder}/../workers/request.cpp")
endif()
