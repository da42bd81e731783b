// The manual page of chksel: its OPTIONS entries in roff, written from the
// option table, and the page assembled from its template.
#ifndef DOCGEN_DGMANPAGE_H
#define DOCGEN_DGMANPAGE_H

#include "docgen/DgOptionTable.h"

#include <string>
#include <vector>

/// Text as it may stand on a roff text line: a backslash becomes "\e", a
/// minus sign "\-" (so that option names can be searched for and copied),
/// and a line that would start with "." or "'" (a request) starts with "\&".
std::string DgRoffText(const std::string &Text);

/// The paragraph tag of one option, its names as the option list shows
/// them: the long form in bold with its hint in italics after "=" or a
/// blank, then ", " and the short form in the same way.
std::string DgManOptionTag(const DgOption &Option);

/// The OPTIONS entries in the order given: for each option a ".TP"
/// paragraph with its tag and its description. A description of one line is
/// filled text; one of several lines is kept line for line (".nf"), so that
/// its columns stay as the option list shows them.
std::string DgManOptions(const std::vector<DgOption> &Options);

/// The manual page: Template with @OPTIONS@ (which stands on a line of its
/// own), @VERSION@ and @DATE@ filled.
/// Raises DgTemplateError when the template does not fit.
std::string DgManPage(const std::string &Template, const DgOptionTable &Table,
                      const std::string &Version, const std::string &Date);

#endif
