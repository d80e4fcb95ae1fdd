/**
 * The host's side of the parameter service: the parameters that kxinfo-host knows, and what a run of
 * the plug-in publishes of them, which is shown as a table or a JSON document. The functions of
 * kx_sc.h, which this program exports to the plug-in, collect it.
 */
#ifndef KXINFO_HOST_PARAMETERS_H
#define KXINFO_HOST_PARAMETERS_H

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "cli/json.h"
#include "kx_sc.h"

namespace kxinfo {

/** What the pointers of a parameter's publication point to, in the words of the document. */
using ValueType = std::string_view;
constexpr ValueType kFloat = "float";     ///< float
constexpr ValueType kInteger = "integer"; ///< int32_t
constexpr ValueType kText = "text";       ///< NUL-terminated text; the minimum: a list of choices

struct Parameter {
    KxScParamId id;
    const char *name;  ///< the identifier, as in kx_sc.h
    const char *title; ///< for people
    ValueType type;
    const char *unit = nullptr; ///< null: a plain number, or a text
};

/** All of them, in the order in which the plug-in publishes them. */
extern const std::vector<Parameter> kParameters;

/** A parameter with the values published for it. */
struct Published {
    const Parameter *parameter;
    Json json; ///< as in the document, see docs/json.md
};

/** One without values. */
Published unpublished(const Parameter &parameter);

/** What one run of the plug-in gave the parameter service. */
struct Publication {
    /** The exported parameters in the order of publication; none when nothing was exported. */
    std::optional<std::vector<Published>> exported;
    /** Identifiers that kxinfo-host does not know, or knows without an index, and has left out. */
    std::set<KxScParamId> ignored;
};

/** Hands over what has been published since the last call, and starts anew. */
Publication takePublication();

/**
 * A table with aligned columns, under its heading. Numbers are rounded to six significant digits.
 *
 * \param serial  beginning of the serial number, as asked for; empty: the first camera
 */
std::string asTable(const std::string &serial, const std::vector<Published> &published);

/** The document described in docs/json.md, with a line end. Numbers are exact. */
std::string asJson(const std::string &serial, const std::vector<Published> &published);

} // namespace kxinfo

#endif
