cmake_minimum_required(VERSION 3.25)
project(MyCalendar LANGUAGES C CXX)
# the fragment
