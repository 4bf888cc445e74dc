cmake_minimum_required(VERSION 3.25)
project(MyHost LANGUAGES C CXX)
add_executable(my-host Sources/main.cpp)
# the fragment
