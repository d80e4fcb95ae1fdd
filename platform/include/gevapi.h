/**
 * The camera framework's calls, as far as the plug-in uses them: finding GigE Vision cameras,
 * opening and closing one, and reaching its feature node map.
 *
 * Every function is called on one thread at a time. None throws.
 */
#ifndef KXINFO_PLATFORM_GEVAPI_H
#define KXINFO_PLATFORM_GEVAPI_H

#include <stdint.h>

/** Marks what a platform library exports; everything else in it is hidden. */
#define KX_PLATFORM_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/** An opened camera; null when closed. */
typedef void *GEV_CAMERA_HANDLE;

/** Result of a framework call: 0 is success, errors are negative. */
typedef int GEV_STATUS;

/** Status codes. */
enum {
    GEVLIB_OK = 0,                         /**< done */
    GEVLIB_ERROR_GENERIC = -1,             /**< failed for a reason that has no code of its own */
    GEVLIB_ERROR_NULL_PTR = -2,            /**< an argument that must not be null is null */
    GEVLIB_ERROR_ARG_INVALID = -3,         /**< an argument is outside its range */
    GEVLIB_ERROR_INVALID_HANDLE = -4,      /**< the handle names no opened camera */
    GEVLIB_ERROR_NOT_SUPPORTED = -5,       /**< the feature cannot be read this way */
    GEVLIB_ERROR_TIME_OUT = -6,            /**< the camera did not answer in time */
    GEVLIB_ERROR_NO_CAMERA = -7,           /**< this computer reaches no camera at that address */
    GEVLIB_ERROR_ACCESS_DENIED = -8,       /**< another program controls the camera */
    GEVLIB_ERROR_PARAMETER_NOT_FOUND = -9, /**< the camera has no such feature */
    GEVLIB_ERROR_NO_DESCRIPTION = -10,     /**< the camera has no description that can be used */
};

/** How a camera is opened. */
typedef enum {
    GevMonitorMode = 0,   /**< reading only; the camera may be controlled by another program */
    GevControlMode = 2,   /**< control; other programs may read */
    GevExclusiveMode = 4, /**< control; other programs are kept out altogether */
} GevAccessMode;

/** Type codes of features. */
enum {
    GevIntegerFeature = 2,     /**< value: signed integer */
    GevBooleanFeature = 3,     /**< value: integer, 0 or 1 */
    GevFloatFeature = 5,       /**< value: float (size 4) or double (size 8) */
    GevStringFeature = 6,      /**< value: characters and a terminating NUL */
    GevEnumerationFeature = 9, /**< value: the current entry's integer value */
};

/** Room for a text of 64 characters and its terminating NUL. */
#define GEV_TEXT_SIZE 65

/** One camera as it answered discovery. Numbers are in the machine's own byte order. */
typedef struct {
    uint32_t ipAddr;       /**< the camera's IPv4 address */
    uint32_t ipMask;       /**< its subnet mask */
    uint32_t ipGateway;    /**< its default gateway */
    uint32_t macHigh;      /**< its MAC address, upper 16 bits */
    uint32_t macLow;       /**< its MAC address, lower 32 bits */
    uint32_t hostIpAddr;   /**< the address of this machine that it was found from */
    uint32_t hostIfIndex;  /**< the network interface that it was found from */
    uint32_t mode;         /**< access mode: GevAccessMode it is or will be opened with */
    uint32_t capabilities; /**< device mode word of its discovery answer */
    char manufacturer[GEV_TEXT_SIZE]; /**< maker's name */
    char model[GEV_TEXT_SIZE];        /**< model name */
    char serial[GEV_TEXT_SIZE];       /**< serial number */
    char version[GEV_TEXT_SIZE];      /**< device version */
    char username[GEV_TEXT_SIZE];     /**< name given by a user */
} GEV_CAMERA_INFO;

/**
 * Enumerates the cameras that can be seen.
 *
 * \param cameras     receives one record per camera, at most \p maxCameras
 * \param maxCameras  records that \p cameras has room for
 * \param numCameras  receives the number of records filled
 */
KX_PLATFORM_API GEV_STATUS GevGetCameraList(GEV_CAMERA_INFO *cameras, int maxCameras,
                                            int *numCameras);

/**
 * Opens a camera. Control is taken, and given, before this returns GEVLIB_OK: a camera that another
 * program controls is not opened, but for monitoring. The open platform opens no camera without a
 * description that can be used (GEVLIB_ERROR_NO_DESCRIPTION); elsewhere such a one has no node map.
 *
 * \param device  record from GevGetCameraList(); its mode becomes \p mode when opened
 * \param mode    what the caller wants of it
 * \param handle  receives the handle; null unless the status is GEVLIB_OK
 */
KX_PLATFORM_API GEV_STATUS GevOpenCamera(GEV_CAMERA_INFO *device, GevAccessMode mode,
                                         GEV_CAMERA_HANDLE *handle);

/**
 * Gives control back, closes the camera and sets \p *handle to null. When this returns, another
 * program can open the camera. A camera that no longer answers takes a moment to close.
 */
KX_PLATFORM_API GEV_STATUS GevCloseCamera(GEV_CAMERA_HANDLE *handle);

/**
 * The camera's feature node map.
 *
 * \return a GenApi_3_0::CNodeMapRef *, owned by the framework and valid until the camera is
 *         closed; null when the camera has none
 */
KX_PLATFORM_API void *GevGetFeatureNodeMap(GEV_CAMERA_HANDLE handle);

/**
 * A feature's current raw value.
 *
 * \param feature  feature name
 * \param type     receives the feature's type code; may be null; untouched on error
 * \param size     bytes that \p value has room for
 * \param value    receives the value, as the type code says. An integer is in the machine's byte
 *                 order and cut to \p size bytes (8 at most are written). Untouched on error
 * \return GEVLIB_ERROR_ARG_INVALID when a float or a text does not fit \p size,
 *         GEVLIB_ERROR_NOT_SUPPORTED when the feature has no value or cannot be read at present
 */
KX_PLATFORM_API GEV_STATUS GevGetFeatureValue(GEV_CAMERA_HANDLE handle, const char *feature,
                                              int *type, int size, void *value);

/** Shuts the framework down. Cameras still open are closed. A later call starts it afresh. */
KX_PLATFORM_API GEV_STATUS GevApiUninitialize(void);

/** Releases the framework's sockets; the last call of all. */
KX_PLATFORM_API int _CloseSocketAPI(void);

#ifdef __cplusplus
}
#endif

#endif
