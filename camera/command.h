/** The commands of kxinfo, one file each, and what those on one camera have in common. */
#ifndef KXINFO_CAMERA_COMMAND_H
#define KXINFO_CAMERA_COMMAND_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "camera/switches.h"
#include "camera/values.h"
#include "cli/program.h"

namespace kxinfo {

/** kxinfo. */
extern const Program kKxinfo;

Run declareList(CLI::App &command);
Run declareProbe(CLI::App &command);
Run declareAddress(CLI::App &command);
Run declareGet(CLI::App &command);
Run declareSet(CLI::App &command);
Run declareGamma(CLI::App &command);
Run declareLut(CLI::App &command);
Run declareAuto(CLI::App &command);
Run declareSave(CLI::App &command);
Run declareRestore(CLI::App &command);
Run declareDiff(CLI::App &command);
Run declareReport(CLI::App &command);
Run declareTree(CLI::App &command);
Run declareXml(CLI::App &command);
Run declareWatch(CLI::App &command);
Run declareDoctor(CLI::App &command);

/** Which camera a command is for, as it was typed; none: see chosenCamera(). */
using CameraArgument = std::optional<std::string>;

/** What several commands declare; what is read into must outlive the parsing. */
void addCamera(CLI::App &command, CameraArgument &camera); ///< CAMERA, which may be left out
void addSwitch(CLI::App &command, bool &switching);        ///< --switch of commands that look
CLI::Option *addAll(CLI::App &command, bool &all);         ///< --all, of every camera

/** What such a command is asked for, read from now on; it has a CameraArgument \c camera. */
template <class Request>
std::shared_ptr<Request> requestFor(CLI::App &command) {
    auto request = std::make_shared<Request>();
    addCamera(command, request->camera);
    return request;
}

/** What 'kxinfo doctor' writes; \p each: of all cameras. \return the status that it ends with */
int diagnose(const CameraArgument &camera, bool each, bool json, std::string &result);

/**
 * Runs a command that changes cameras on all of them, and shows a line of what each came to.
 *
 * \param arguments  of kxinfo: the command, a place for the camera's address, the rest
 * \return the highest status
 */
int changeAll(const Words &arguments);

/**
 * Runs a command that writes a file of each camera, and shows a line of what each came to. The folder
 * is made; a file there has the camera's serial number, as far as that can be a name, and the ending.
 *
 * \return the highest status. \throws Error
 */
int allToFolder(const char *command, const std::string &folder, const char *ending,
                const Words &options);

/**
 * Finds and opens the camera, works on it, puts back what the work had to switch, and closes it. What
 * ends the work early (Error, the camera's exceptions) is told on standard error. Signals stop it at
 * the next safe place: what it has changed is put back.
 *
 * \return an ExitStatus
 * \throws Error when there is no camera to work on
 */
int onCamera(const CameraArgument &camera, Purpose purpose,
             const std::function<int(Camera &camera, Switches &switches)> &work);

/**
 * The same for commands that take [CAMERA] [FEATURE...]: a first word that is no camera's is a
 * feature, or a category of features, if a camera is meant without being named.
 *
 * \param work  gets the names of the features
 */
int onFeatures(
    CameraArgument camera, Words names, Purpose purpose,
    const std::function<int(Camera &camera, Switches &switches, const Words &names)> &work);

/**
 * Sets features in the order given, unless one can only be set after another: the range of each is
 * that which it has then. What has that value already is not written. The caller keeps the changes
 * (Switches::keepChanges()).
 *
 * \return lines of what each was and is, in the order given, as the camera has it
 * \throws Error when one cannot be set in any order, or a lower limit would be above its upper one
 */
std::string assign(const Camera &camera, Switches &switches,
                   const std::vector<Assignment> &assignments);

/** The same, kept and shown: what is left of a command that sets features. \return kDone */
int assignAndShow(const Camera &camera, Switches &switches,
                  const std::vector<Assignment> &assignments);

/**
 * The one argument of a command that takes [CAMERA] FILE is the file.
 *
 * \return the file. \throws Error (kWrongUsage) when there is none
 */
std::string requireFile(const std::string &command, CameraArgument &camera,
                        std::optional<std::string> &file);

} // namespace kxinfo

#endif
