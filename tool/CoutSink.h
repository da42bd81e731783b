// A Boost.Iostreams sink on the program's standard output.
#ifndef TOOL_COUTSINK_H
#define TOOL_COUTSINK_H

#include <boost/iostreams/categories.hpp>

#include <ios>

/// Writes everything it is given to std::cout, so that output meant for
/// standard output goes through whatever buffer the program installed on
/// std::cout. Flushing the sink flushes std::cout. A failed std::cout makes
/// write and flush throw std::ios_base::failure, which the stream holding the
/// sink turns into its bad state. Holds no state.
class CoutSink {
public:
  using char_type = char;
  struct category : boost::iostreams::sink_tag,
                    boost::iostreams::flushable_tag {};

  std::streamsize write(const char *Data, std::streamsize Size);
  bool flush();
};

#endif
