/* A camera maker's framework that finds no camera. */
#include <stddef.h>

#include "gevapi.h"

GEV_STATUS GevGetCameraList(GEV_CAMERA_INFO *cameras, int maxCameras, int *numCameras) {
    (void)cameras;
    (void)maxCameras;
    *numCameras = 0;
    return GEVLIB_OK;
}

GEV_STATUS GevOpenCamera(GEV_CAMERA_INFO *device, GevAccessMode mode, GEV_CAMERA_HANDLE *handle) {
    (void)device;
    (void)mode;
    *handle = NULL;
    return GEVLIB_ERROR_NO_CAMERA;
}

GEV_STATUS GevCloseCamera(GEV_CAMERA_HANDLE *handle) {
    *handle = NULL;
    return GEVLIB_ERROR_INVALID_HANDLE;
}

void *GevGetFeatureNodeMap(GEV_CAMERA_HANDLE handle) {
    (void)handle;
    return NULL;
}

GEV_STATUS GevGetFeatureValue(GEV_CAMERA_HANDLE handle, const char *feature, int *type, int size,
                              void *value) {
    (void)handle;
    (void)feature;
    (void)type;
    (void)size;
    (void)value;
    return GEVLIB_ERROR_INVALID_HANDLE;
}

GEV_STATUS GevApiUninitialize(void) {
    return GEVLIB_OK;
}

int _CloseSocketAPI(void) {
    return 0;
}
