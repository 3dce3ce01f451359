"""Finds small wrong changes in a C++ source from its syntax."""
import re

from clang import cindex

from sites import Site

K = cindex.CursorKind
RELATIONS = {'<': '<=', '<=': '<', '>': '>=', '>=': '>', '==': '!=', '!=': '==', '&&': '||', '||': '&&'}
ARITHMETIC = {'+': '-', '-': '+', '*': '/', '/': '*', '%': '*', '&': '|', '|': '&'}
SHIFTS = {'<<': '>>', '>>': '<<'}
ASSIGNMENTS = {'+=': '-=', '-=': '+=', '*=': '/=', '/=': '*='}
INSTEAD = {'std::min': 'std::max', 'std::max': 'std::min', 'std::floor': 'std::ceil', 'std::ceil': 'std::floor'}
CLASSES = {K.CLASS_DECL, K.STRUCT_DECL, K.CLASS_TEMPLATE}
CONSTANT = {K.CASE_STMT: 1, K.STATIC_ASSERT: 9, K.ENUM_CONSTANT_DECL: 9, K.TEMPLATE_TYPE_PARAMETER: 9,
            K.TEMPLATE_NON_TYPE_PARAMETER: 9, K.CXX_ACCESS_SPEC_DECL: 9}


class Finder:
    def __init__(self, path, source):
        self.path, self.source, self.sites, self.seen = path, source, [], set()
        self.macros = []  # (start, end) of what macros stand for
        self.constants = []  # (start, end, name, instead, end of the variable): the word constexpr of variables

    def add(self, start, end, kind, change, make):
        if (start, end, kind, change) not in self.seen and start < end:
            self.seen.add((start, end, kind, change))
            self.sites.append(Site(start, end, kind, change, make))

    def text(self, cursor):
        return self.source[cursor.extent.start.offset:cursor.extent.end.offset]

    def is_here(self, cursor):
        """Written in this file, and not by a macro."""
        start, end = cursor.extent.start, cursor.extent.end
        if start.file is None or end.file is None or start.file.name != self.path or end.file.name != self.path:
            return False
        return start.offset < end.offset and not any(a < end.offset and start.offset < b and
                                                     (a <= start.offset or end.offset < b) for a, b in self.macros)

    def visit_top(self, cursor):
        """A declaration of the source, once."""
        where = ('top', cursor.extent.start.offset, cursor.extent.end.offset)
        if where in self.seen:
            return
        if cursor.kind != K.NAMESPACE:
            self.seen.add(where)
        if self.is_here(cursor):
            self.look_at(cursor, cursor)
        self.visit(cursor)

    def visit(self, cursor):
        for child in cursor.get_children():
            if child.kind in CONSTANT and CONSTANT[child.kind] == 9:
                continue
            if child.location.file is not None and child.location.file.name != self.path:
                continue
            if self.is_here(child):
                self.look_at(child, cursor)
            if child.kind == K.CASE_STMT:
                for part in list(child.get_children())[1:]:
                    if self.is_here(part):
                        self.look_at(part, child)
                    self.visit(part)
                continue
            self.visit(child)

    def look_at(self, cursor, parent):
        kind = cursor.kind
        if parent.kind == K.COMPOUND_STMT and kind.is_expression():
            self.dropped_statement(cursor)
        if kind in (K.BINARY_OPERATOR, K.CALL_EXPR):
            self.operator(cursor)
        if kind == K.COMPOUND_ASSIGNMENT_OPERATOR:
            self.assignment(cursor)
        if kind == K.CALL_EXPR:
            self.swapped_arguments(cursor)
            self.other_function(cursor)
        if kind in (K.IF_STMT, K.WHILE_STMT, K.CONDITIONAL_OPERATOR):
            self.negated_condition(cursor)
        if kind == K.UNARY_OPERATOR:
            self.sign(cursor)
        if kind in (K.INTEGER_LITERAL, K.FLOATING_LITERAL) and not self.is_of_type(cursor, parent):
            self.constant(cursor)
        if kind == K.CXX_BOOL_LITERAL_EXPR:
            value = self.text(cursor)
            other = {'true': 'false', 'false': 'true'}.get(value)
            if other:
                self.add(*self.span(cursor), 'constant', f'{value} -> {other}',
                         lambda n, t, i, v=value, o=other: f'(tarvix_mutant({n}) ? {o} : {v})')
        if kind == K.DECL_REF_EXPR:
            self.flag(cursor)
        if kind == K.VAR_DECL:
            self.constant_variable(cursor)

    def is_of_type(self, literal, parent):
        """A number in a type, such as 4 in std::array<int, 4>."""
        if parent.kind.is_declaration():
            before = self.source[:literal.extent.start.offset].rstrip()
            return literal.extent.end.offset <= parent.location.offset or before.endswith('[') or not (
                parent.kind in (K.VAR_DECL, K.FIELD_DECL, K.PARM_DECL))
        return False

    def span(self, cursor):
        return cursor.extent.start.offset, cursor.extent.end.offset

    def dropped_statement(self, cursor):
        start, end = self.span(cursor)
        semicolon = re.compile(r'\s*;').match(self.source, end)
        if not semicolon or re.search(r'\[\[noreturn\]\][^;{}]*\{\s*$', self.source[:start]):
            return  # the compiler takes it that what does not return does not go on, and drops the switch instead
        end = semicolon.end()
        words = ' '.join(self.source[start:end].split())
        self.add(start, end, 'dropped', f'drop: {words[:90]}',
                 lambda n, t, i: f'if (!tarvix_mutant({n})) {{ {t} }}')

    def operator(self, cursor):
        children = list(cursor.get_children())
        if cursor.kind == K.CALL_EXPR:
            if not re.fullmatch(r'operator(==|!=|<=?|>=?|[-+*/])', cursor.spelling) or len(children) != 3:
                return
            if 'string' in cursor.type.spelling:
                return
            left, right = children[0], children[2]
        elif len(children) == 2:
            left, right = children
        else:
            return
        if not self.is_here(left) or not self.is_here(right):
            return
        between = self.source[left.extent.end.offset:right.extent.start.offset]
        between = re.sub(r'//.*|/\*.*?\*/', '', between).strip(' \n()')
        other = RELATIONS.get(between) or ARITHMETIC.get(between)
        if other is None and cursor.kind == K.BINARY_OPERATOR:
            other = SHIFTS.get(between)
        if other is None:
            return
        a, b = self.span(left), self.span(right)
        start, end = self.span(cursor)
        gap = self.source[left.extent.end.offset:right.extent.start.offset]
        if between in ('&&', '||'):
            def make(n, t, inner, gap=gap, word=between, new=other):
                l, r = inner(*a), inner(*b)
                head, tail = inner(start, a[0]), inner(b[1], end)
                return (f'(tarvix_mutant({n}) ? static_cast<bool>({head}{l}{gap.replace(word, new)}{r}{tail})'
                        f' : static_cast<bool>({head}{l}{gap}{r}{tail}))')
            if self.source[start:a[0]].strip() or self.source[b[1]:end].strip():
                return
        else:
            if gap.strip() != between or self.source[start:a[0]].strip() or self.source[b[1]:end].strip():
                return

            def make(n, t, inner, word=between, new=other):
                return (f'([&](auto&& a_, auto&& b_) {{ return tarvix_mutant({n}) ? (a_ {new} b_) : (a_ {word} b_); }}'
                        f'({inner(*a)}, {inner(*b)}))')
        self.add(start, end, 'operator', f'{between} -> {other}', make)

    def assignment(self, cursor):
        left, right = list(cursor.get_children())
        gap = self.source[left.extent.end.offset:right.extent.start.offset]
        word = gap.strip()
        if word not in ASSIGNMENTS or 'string' in left.type.spelling or not self.is_here(left) or not self.is_here(right):
            return
        a, b, new = self.span(left), self.span(right), ASSIGNMENTS[word]
        self.add(*self.span(cursor), 'operator', f'{word} -> {new}',
                 lambda n, t, inner: (f'(tarvix_mutant({n}) ? ({inner(*a)} {new} {inner(*b)})'
                                      f' : ({inner(*a)} {word} {inner(*b)}))'))

    def other_function(self, cursor):
        start, end = self.span(cursor)
        for word, new in INSTEAD.items():
            if self.source.startswith(word + '(', start):
                self.add(start, end, 'call', f'{word} -> {new}',
                         lambda n, t, inner, at=start + len(word), word=word, new=new: (
                             f'(tarvix_mutant({n}) ? {new}{inner(at, end)} : {word}{inner(at, end)})'))

    def assertions(self):
        """What CV_Assert refuses; a macro is not a statement of the syntax."""
        for start, end in self.macros:
            semicolon = re.compile(r'\s*;').match(self.source, end)
            if self.source.startswith('CV_Assert(', start) and semicolon:
                words = ' '.join(self.source[start:semicolon.end()].split())
                self.add(start, semicolon.end(), 'dropped', f'drop: {words[:90]}',
                         lambda n, t, i: f'if (!tarvix_mutant({n})) {{ {t} }}')

    def negated_condition(self, cursor):
        children = list(cursor.get_children())
        condition = next((c for c in children if c.kind.is_expression()), None)
        if condition is None or not self.is_here(condition) or any(c.kind == K.VAR_DECL for c in children):
            return
        if cursor.kind == K.IF_STMT and 'constexpr' in self.source[cursor.extent.start.offset:condition.extent.start.offset]:
            return
        words = ' '.join(self.text(condition).split())
        self.add(*self.span(condition), 'condition', f'not ({words[:80]})',
                 lambda n, t, i: f'(static_cast<bool>({t}) != tarvix_mutant({n}))')

    def sign(self, cursor):
        word = self.source[cursor.extent.start.offset]
        operand = next(iter(cursor.get_children()), None)
        if word not in '!-' or operand is None or not self.is_here(operand):
            return
        if self.source[cursor.extent.start.offset:cursor.extent.start.offset + 2] == '--':
            return
        a = self.span(operand)
        self.add(*self.span(cursor), 'operator', f'without {word}',
                 lambda n, t, inner: (f'([&](auto&& a_) {{ return tarvix_mutant({n}) ? static_cast<decltype({word}a_)>(a_)'
                                      f' : {word}a_; }}({inner(*a)}))'))

    def constant(self, cursor):
        value = self.text(cursor)
        if cursor.kind == K.INTEGER_LITERAL:
            number = re.fullmatch(r'(0[xX][0-9a-fA-F\']+|[0-9\']+)([uUlLzZ]*)', value)
            if not number:
                return
            n = int(number[1].replace("'", ''), 0)
            new = f'{n + 1}{number[2]}'
        else:
            new = f'2 * {value}' if re.search('[1-9]', re.split('[eE]', value)[0]) else f'1 + {value}'
        self.add(*self.span(cursor), 'constant', f'{value} -> {new}',
                 lambda n, t, i, v=value, o=new: f'(tarvix_mutant({n}) ? {o} : {v})')

    def swapped_arguments(self, cursor):
        arguments = [a for a in cursor.get_arguments() if a is not None]
        if len(arguments) < 2 or cursor.spelling.startswith('operator') or not all(self.is_here(a) for a in arguments):
            return
        spans = [self.span(a) for a in arguments]
        if any(spans[i][1] > spans[i + 1][0] for i in range(len(spans) - 1)):
            return
        if any(self.text(a).startswith('{') for a in arguments):
            return
        swaps = []
        for i in range(len(arguments) - 1):
            one, two = arguments[i], arguments[i + 1]
            if self.text(one) != self.text(two) and self.plain(one) == self.plain(two) and self.plain(one):
                swaps.append(i)
        # Neighbours of a neighbour would be text within text: each argument is in one pair at most.
        used = set()
        for i in swaps:
            if i in used or i + 1 in used:
                continue
            used |= {i, i + 1}
            a, b = spans[i], spans[i + 1]

            def make(n, t, inner, a=a, b=b):
                one, two = inner(*a), inner(*b)
                return (f'(tarvix_mutant({n}) ? {two} : {one}){inner(a[1], b[0])}'
                        f'(tarvix_mutant({n}) ? {one} : {two})')
            self.add(a[0], b[1], 'arguments', f'swap: {" ".join(self.source[a[0]:b[1]].split())[:90]}', make)

    @staticmethod
    def plain(cursor):
        name = cursor.type.get_canonical().spelling
        name = re.sub(r'\bconst\b|&', '', name).strip()
        return '' if 'dependent' in name or '(lambda' in name else name

    def flag(self, cursor):
        target = cursor.referenced
        if target is None or target.kind != K.ENUM_CONSTANT_DECL:
            return
        enumeration = target.semantic_parent
        others = [c for c in enumeration.get_children() if c.kind == K.ENUM_CONSTANT_DECL and c.enum_value != target.enum_value]
        if not others:
            return
        later = [c for c in others if c.location.offset > target.location.offset]
        other = (later or others)[0]
        names = []
        scope = enumeration if enumeration.is_scoped_enum() else enumeration.semantic_parent
        while scope is not None and scope.kind != K.TRANSLATION_UNIT:
            if scope.spelling and '(' not in scope.spelling:
                names.append(scope.spelling)
            scope = scope.semantic_parent
        new = '::'.join(reversed([other.spelling] + names))
        start, end = self.span(cursor)
        value = self.source[start:end]
        self.add(start, end, 'flag', f'{value} -> {new}',
                 lambda n, t, i, v=value, o=new: f'(tarvix_mutant({n}) ? {o} : {v})')

    def constant_variable(self, cursor):
        start = cursor.extent.start.offset
        head = re.compile(r'(?:(?:static|inline|const)\s+)*(constexpr)\b').match(self.source, start)
        if head:
            word = 'inline const' if cursor.semantic_parent.kind in CLASSES else 'const'
            self.constants.append((head.start(1), head.end(1), cursor.spelling, word, cursor.extent.end.offset))
