// What the run function does to the process before anything else: the
// standard descriptors and the signals that would lose output.
#ifndef SETUP_SUPROCESSSTART_H
#define SETUP_SUPROCESSSTART_H

/// Prepares the process for a run; called first by SuRun, before any file is
/// opened.
///
/// - Each of the descriptors 0, 1 and 2 that is closed gets /dev/null
///   (opened for reading for 0, for writing for 1 and 2), so that a file the
///   run opens later never takes one of those numbers and receives
///   diagnostics or standard output meant for them.
/// - SIGXFSZ is ignored: a write past the file-size limit then fails like
///   any other write, and is reported, instead of ending the process with a
///   half-written file.
///
/// SIGPIPE keeps its action: writing into a closed pipe ends the run, as it
/// ends any filter. Calling it again does no harm.
void SuPrepareProcess();

#endif
