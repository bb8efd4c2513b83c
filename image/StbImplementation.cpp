// stb's BMP code compiled into the image library, for targets where the
// system has no stb library to link.
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_ONLY_BMP
#include <stb_image.h>
#include <stb_image_write.h>
