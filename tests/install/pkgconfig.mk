# The examples as a project without CMake would build them, into the current folder.
# PKG_CONFIG_PATH says where h5gate is, SOURCES where the examples are.
CXX ?= g++
CXXFLAGS := -std=c++20 -Wall -Wextra -Werror
GATEWAY := -DH5GATE_GATEWAY='"$(shell pkg-config --variable=gateway h5gate)"'
EXPORT := -rdynamic

all: own_host embedded_host

own_host.o: $(SOURCES)/own_host/own_host.cpp
	$(CXX) $(CXXFLAGS) $(GATEWAY) $(shell pkg-config --cflags h5gate) -c $< -o $@

own_host: own_host.o
	$(CXX) $(EXPORT) $< -o $@ $(shell pkg-config --libs h5gate) -ldl

embedded_host: $(SOURCES)/embedded_host/embedded_host.cpp
	$(CXX) $(CXXFLAGS) $< -o $@ $(shell pkg-config --cflags --libs zembra)
