// XML runtime: everything a binding needs to read and write its documents.
//
// Byte sources (xrt/xrt_read.h)
//   c_read_file(path | FILE*), c_read_memory(data, size), c_read_string(text)
// Reader (xrt/xml_reader.h)
//   c_xml_reader(c_read&), c_xml_reader_file(path), c_xml_reader_memory(data, size)
//   int get_next_event()            exrt_event: 0 end, 3 error (get_error()), 5 text
//                                   (get_value()), 6 end tag or "/>", 7 start tag; after a
//                                   start tag, one 7 per attribute, then 4 (">") or 6 ("/>")
//   int tokenise(table, is_element) token of an s_xml_token table, 1 if unknown, 8..11 xsi
//   bool skip_start_tag(self_closed), get_element_value(value, ws_mode), test_end_tag(name)
//   bool get_named_attribute(ns, local, value), get_attribute_value(value)
//   get_local_name(), get_full_name(), get_element_ns_id(), get_line_no(), get_error(),
//   handle_error(code, item, file, line) -> user_handle_error hooks, get_error_info()
//   Namespace ids: 0 unknown prefix, 1 none, 2 xml, 5 schema instance, 1000+ in order seen.
// Writer (xrt/xml_writer.h)
//   c_xml_writer(std::ostream&) writes the prolog; operator()(bool indent) gives the stream
//   indented; indent(), undent(), endl(), write_namespaces(), write_escaped(text)
// Errors (xrt/xrt_error.h)
//   exrt_error codes and get_error_text(code); c_error, the record of the input layers;
//   c_xrt_exception, c_xrt_exception_with_name, c_xrt_reader_exception
#pragma once

#include "xrt/xml_reader.h"
#include "xrt/xml_writer.h"
#include "xrt/xrt_error.h"
#include "xrt/xrt_input.h"
#include "xrt/xrt_read.h"
