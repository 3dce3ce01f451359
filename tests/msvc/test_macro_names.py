"""test_macro_names.py SCRIPTS: which names of a source scripts/msvc_check.sh refuses, as windows.h defines them."""

import sys
import unittest

sys.path.insert(0, sys.argv.pop(1))
import macro_names  # noqa: E402

NAMES = {"small", "near", "far"}


class MacroNames(unittest.TestCase):
    def names(self, text):
        return [name for _, name in macro_names.used(text, NAMES)]

    def test_variables_parameters_and_members_are_found(self):
        text = "#include <opencv2/core.hpp>\n\ncv::Mat half(double far) {\n    cv::Mat small;\n    return set.near;\n}\n"
        self.assertEqual(macro_names.used(text, NAMES), [(3, "far"), (4, "small"), (5, "near")])

    def test_longer_names_are_not(self):
        self.assertEqual(self.names("int smaller, nearest, far_off, isSmall;"), [])

    def test_comments_and_texts_are_not(self):
        self.assertEqual(self.names('// small\nf("small \\" near", \'f\'); /* far\nsmall */ g(R"(a "near" (far) small)", u8"far");'), [])
        self.assertEqual(self.names('f(R"css(near )" far)css");'), [])

    def test_code_after_them_is(self):
        self.assertEqual(self.names('f("//"); g(small); // it\'s small\nint n = 1\'000\'000; h(near, \'"\', far);'),
                         ["small", "near", "far"])
        self.assertEqual(self.names('f(R"(")"); g(small); /* " */ h(near);'), ["small", "near"])

    def test_macros_are_plain_lower_case_words(self):
        listed = ("#define small char\n#define near \n#define far\n#define min(a,b) a\n#define GetText GetTextA\n#define edt1 0x0480\n"
                  "#define lstrlen FORM(lstrlen)\n#define errno (*_errno())\n")
        self.assertEqual(macro_names.defined(listed), {"small", "near", "far"})


unittest.main()
