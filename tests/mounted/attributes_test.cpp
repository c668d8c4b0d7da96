#include "mounted/mounted_folder.h"
