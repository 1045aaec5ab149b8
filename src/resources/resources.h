#pragma once

/// Makes the pictures under ":/image/resource/" and ":/printerid/resource/" known. Linked from a static library they
/// are not until this is called; once, before the first widget is built.
void registerResources();
