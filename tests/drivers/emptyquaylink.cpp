// A library of the right name without any of its exports.
extern "C" int somethingElse()
{
    return 0;
}
