package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.Collections;
import java.util.HashSet;
import java.util.List;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/**
 * The first walk over a script: makes every node's position absolute, declares names in their scopes, notes their uses,
 * and refuses what is not translated. Variables, scopes and functions are left on the nodes for the walks that follow.
 */
final class Names implements NodeVisitor {
    private static final int SCOPE = 1002, FUNCTION = 1003, USE = 1004, CHAIN = 1006, NOTE = 1007;

    private final Diagnostics errors;
    private final Refusals refusals;
    final ArrayList<Variable.Use> uses = new ArrayList<>();
    final ArrayList<FunctionInfo> functions = new ArrayList<>();
    final ArrayList<Scope> scopes = new ArrayList<>();
    final HashSet<String> declared = new HashSet<>();
    final Types types;
    private final Source source;
    private Scope scope;
    private FunctionInfo function;
    private boolean mathShared;
    /** The script has the global object in its hands, whose properties the variables of the top level are. */
    boolean sharesGlobals;
    private final ArrayList<Integer> continues = new ArrayList<>();

    Names(Diagnostics errors, Source source, Types types) {
        this.errors = errors;
        this.source = source;
        this.types = types;
        refusals = new Refusals(errors);
    }

    static Variable variable(AstNode name) {
        Variable.Use use = use(name);
        return use == null ? null : use.variable;
    }

    static Variable.Use use(AstNode name) {
        return (Variable.Use) name.getProp(USE);
    }

    static Scope scope(AstNode node) {
        return (Scope) node.getProp(SCOPE);
    }

    static FunctionInfo function(AstNode node) {
        return (FunctionInfo) node.getProp(FUNCTION);
    }

    /** The operator that the author wrote where the tree has another, or null. */
    static String operator(AstNode node) {
        return (String) node.getProp(NOTE);
    }

    /** The whole of a chain of members and calls that `?.` may cut short. */
    static boolean isChain(AstNode node) {
        return node.getProp(CHAIN) != null;
    }

    /** True when `Math` is only ever the plain object before a dot, so that its functions are the known ones. */
    boolean mathIsPlain() {
        return !mathShared && !declared.contains("Math");
    }

    /** Whether a continue statement may stand in a part of the script. */
    boolean continues(AstNode node) {
        int at = Collections.binarySearch(continues, node.getPosition());
        if (at < 0) at = -at - 1;
        return at < continues.size() && continues.get(at) < node.getPosition() + node.getLength();
    }

    FunctionInfo walk(AstRoot root) {
        function = new FunctionInfo(null, null, false);
        functions.add(function);
        FunctionInfo main = function;
        main.scope = open(root);
        children(root);
        resolve();
        return main;
    }

    private void children(AstNode node) {
        for (org.mozilla.javascript.Node child = node.getFirstChild(); child != null; child = child.getNext()) {
            ((AstNode) child).visit(this);
        }
    }

    // -- scopes

    private Scope open(AstNode node) {
        scope = new Scope(scope, function, node);
        node.putProp(SCOPE, scope);
        scopes.add(scope);
        return scope;
    }

    private void close() {
        scope = scope.parent;
    }

    private Scope functionScope() {
        Scope at = scope;
        while (at != at.function.real().scope) at = at.parent;
        return at;
    }

    private Variable declare(Name name, Variable.Kind kind) {
        String text = name.getIdentifier();
        refusals.binding(name);
        declared.add(text);
        Scope home = kind == Variable.Kind.VAR ? functionScope() : scope;
        Variable found = home.names.get(text);
        boolean lexical = kind == Variable.Kind.LET || kind == Variable.Kind.CONST;
        if (kind == Variable.Kind.VAR) {
            for (Scope at = scope; at != home; at = at.parent) {
                Variable hidden = at.names.get(text);
                if (hidden != null && hidden.kind != Variable.Kind.CATCH) clash(name);
                at.passed.add(text);
            }
        } else if (scope.passed.contains(text) || kind != Variable.Kind.CATCH && scope.isBodyOfCatch(text)) clash(name);
        if (found == null || found.kind == Variable.Kind.SELF) return home.declare(text, kind);
        boolean inFunction = home == home.function.real().scope;
        boolean again = !lexical && !found.isLexical() && (inFunction || kind == found.kind && kind == Variable.Kind.VAR);
        if (kind == Variable.Kind.PARAMETER || !again) clash(name);
        return found;
    }

    private void clash(Name name) {
        errors.report(name, "Identifier '" + name.getIdentifier() + "' has already been declared");
    }

    // -- names

    private Variable.Use use(Name name, boolean write) {
        Variable.Use use = new Variable.Use();
        use.name = name;
        use.scope = scope;
        use.write = write;
        use.position = name.getPosition();
        name.putProp(USE, use);
        uses.add(use);
        return use;
    }

    /** What an assignment, a declaration or a loop writes to. A null kind assigns, others declare. */
    private void target(AstNode node, Variable.Kind kind, VariableInitializer in, boolean direct, AstNode value) {
        if (!(node instanceof Name)) place(node);
        switch (node.getType()) {
            case Token.NAME:
                place(node);
                if (kind != null) declared((Name) node, declare((Name) node, kind), in, direct, value);
                else refusals.binding((Name) node);
                Variable.Use use = use((Name) node, in == null || in.getInitializer() != null || value != null);
                types.assigned(use, value);
                return;
            case Token.ARRAYLIT:
                for (AstNode element : ((ArrayLiteral) node).getElements()) {
                    if (element.getType() == Token.EMPTY || Rewriting.isMark(element)) place(element);
                    else target(element, kind, in, direct, Types.ANYTHING);
                }
                lastIsRest(((ArrayLiteral) node).getElements());
                return;
            case Token.OBJECTLIT:
                for (ObjectProperty property : ((ObjectLiteral) node).getElements()) {
                    place(property);
                    if (property.getLeft() != property.getRight()) place(property.getLeft());
                    if (Patterns.isSpread(property) && source.note(property.getPosition()) != null) notLast(property);
                    if (Patterns.isKey(property)) property.getRight().visit(this);
                    else target(property.getRight(), kind, in, direct, Types.ANYTHING);
                }
                return;
            case Token.ASSIGN: {
                InfixExpression part = (InfixExpression) node;
                if (!(node.getParent() instanceof ArrayLiteral || node.getParent() instanceof ObjectProperty)) break;
                if (Rewriting.isMark(part.getLeft())) {
                    place(part.getLeft());
                    target(part.getRight(), kind, in, direct, Types.ANYTHING);
                } else {
                    target(part.getLeft(), kind, in, direct, Types.ANYTHING);
                    part.getRight().visit(this);
                    Variable variable = part.getLeft() instanceof Name && kind != null ? scope.find(((Name) part.getLeft()).getIdentifier()) : null;
                    if (variable != null) variable.ownEnd = Math.max(variable.start, node.getPosition() + node.getLength());
                }
                return;
            }
            case Token.LP:
                target(((ParenthesizedExpression) node).getExpression(), kind, in, direct, value);
                return;
            case Token.GETPROP:
            case Token.GETELEM:
                mathShared |= node.getType() == Token.GETPROP && isMath(((PropertyGet) node).getTarget());
                if (Patterns.isOptional(node)) break;
                if (!parts(node)) return;
                ((ElementGet) node).getTarget().visit(this);
                ((ElementGet) node).getElement().visit(this);
                return;
            default:
                break;
        }
        errors.report(node, "Invalid left-hand side in assignment");
    }

    private void lastIsRest(List<AstNode> elements) {
        for (int i = 0; i < elements.size(); i++) {
            if (Patterns.isSpread(elements.get(i)) && (i + 1 < elements.size() || source.note(elements.get(i).getPosition()) != null)) notLast(elements.get(i));
        }
    }

    private void notLast(AstNode rest) {
        errors.report(rest, "Rest element must be last element");
    }

    private void declared(Name name, Variable variable, VariableInitializer in, boolean direct, AstNode value) {
        if (variable.start >= 0) return;
        variable.start = name.getPosition();
        variable.home = scope;
        variable.initial = value;
        variable.direct = direct;
        variable.end = in == null ? variable.start : in.getPosition() + in.getLength();
        variable.patternEnd = in == null ? -1 : in.getTarget().getPosition() + in.getTarget().getLength();
        variable.initialised = in == null || in.getInitializer() != null;
    }

    private void place(AstNode node) {
        node.setPosition(node.getPosition() + node.getParent().getPosition());
    }

    // -- the walk

    @Override
    public boolean visit(AstNode node) {
        if (node.getParent() != null) place(node);
        if (!refusals.check(node)) return false;
        return parts(node);
    }

    /** Deals with the parts of a node whose position is set; true when its children are to be visited as they are. */
    private boolean parts(AstNode node) {
        switch (node.getType()) {
            case Token.NAME:
                name((Name) node);
                return false;
            case Token.STRING: case Token.TEMPLATE_CHARS:
                refusals.escapes(node);
                return false;
            case Token.THIS:
                function.ofThis().usesThis = true;
                sharesGlobals |= function.ofThis().node == null;
                return false;
            case Token.GETPROP: {
                InfixExpression get = (InfixExpression) node;
                AstNode left = get.getLeft();
                if (left.getType() == Token.NAME) {
                    place(left);
                    use((Name) left, false);
                    if (((Name) left).getIdentifier().equals("arguments")) name((Name) left);
                } else left.visit(this);
                place(get.getRight());
                refusals.member((Name) get.getRight());
                if (Rewriting.isMark(get.getRight())) chain(node);
                return false;
            }
            case Token.FUNCTION:
                functionNode((FunctionNode) node);
                return false;
            case Token.VAR:
            case Token.LET:
            case Token.CONST:
                if (node instanceof VariableDeclaration) declaration((VariableDeclaration) node);
                return false;
            case Token.INC:
            case Token.DEC:
                target(((UpdateExpression) node).getOperand(), null, null, false, node);
                return false;
            case Token.OBJECTLIT:
                objectLiteral((ObjectLiteral) node);
                return false;
            case Token.FOR:
                loop((Loop) node);
                return false;
            case Token.WHILE:
            case Token.DO:
                boolean outside = scope.inLoop;
                scope.inLoop = true;
                if (node instanceof WhileLoop) ((WhileLoop) node).getCondition().visit(this);
                ((Loop) node).getBody().visit(this);
                if (node instanceof DoLoop) ((DoLoop) node).getCondition().visit(this);
                scope.inLoop = outside;
                return false;
            case Token.BLOCK:
                open(node);
                children(node);
                close();
                return false;
            case Token.SWITCH:
                switchStatement((SwitchStatement) node);
                return false;
            case Token.TRY:
                tryStatement((TryStatement) node);
                return false;
            case Token.CONTINUE:
                continues.add(node.getPosition());
                return false;
            case Token.BREAK:
                return false;
            case Token.CALL:
            case Token.NEW:
                function.callAt(node.getPosition() + node.getLength());
                return true;
            case Token.OR:
                note((InfixExpression) node);
                return true;
            case Token.RETURN: {
                AstNode value = ((ReturnStatement) node).getReturnValue();
                types.returned(function.real(), value);
                return true;
            }
            default:
                if (node instanceof Assignment) {
                    Assignment assignment = (Assignment) node;
                    note(assignment);
                    if (Rewriting.isMark(assignment.getLeft())) {
                        if (!Patterns.isSpread(node)) errors.report(node, "Unexpected token '...'");
                        assignment.getRight().visit(this);
                        return false;
                    }
                    boolean plain = node.getType() == Token.ASSIGN;
                    target(assignment.getLeft(), null, null, false, plain ? assignment.getRight() : node);
                    assignment.getRight().visit(this);
                    return false;
                }
                if (node instanceof LabeledStatement) {
                    labeled(((LabeledStatement) node).getStatement());
                    return false;
                }
                return true;
        }
    }

    /** The parser gives a loop that has a label too large a length. */
    private void labeled(AstNode statement) {
        if (statement instanceof Loop && !(statement instanceof DoLoop)) {
            AstNode body = ((Loop) statement).getBody();
            statement.setLength(body.getPosition() + body.getLength());
        }
        statement.visit(this);
    }

    /** Marks the whole of a chain that stops here when there is nothing to go on with. */
    private static void chain(AstNode link) {
        AstNode top = link;
        for (AstNode next = top.getParent(); Patterns.target(next) == top; next = top.getParent()) top = next;
        if (top.getParent().getType() == Token.DELPROP) top = top.getParent();
        top.putProp(CHAIN, true);
    }

    private static boolean isMath(AstNode node) {
        return node.getType() == Token.NAME && ((Name) node).getIdentifier().equals("Math");
    }

    private void name(Name name) {
        String text = name.getIdentifier();
        if (text.equals("arguments") && function.ofThis().node != null && scope.find(text) == null) {
            function.ofThis().usesArguments = true;
        }
        if (text.equals("globalThis")) sharesGlobals = true;
        if (text.equals("Math")) mathShared = true;
        if (use(name) == null) use(name, false);
    }

    private void note(InfixExpression node) {
        String operator = source.note(node.getPosition() + node.getOperatorPosition());
        if (operator == null) return;
        node.putProp(NOTE, operator);
        if (node.getType() != Token.OR) return;
        boolean mixed = isMixed(node.getLeft(), node.getPosition()) || isMixed(node.getRight(), node.getPosition()) || isMixed(node.getParent(), 0);
        if (mixed) errors.report(node, "?? cannot stand beside && or || without parentheses");
    }

    private boolean isMixed(AstNode node, int base) {
        if (node.getType() != Token.OR) return node.getType() == Token.AND;
        return source.note(base + node.getPosition() + ((InfixExpression) node).getOperatorPosition()) == null;
    }

    private void objectLiteral(ObjectLiteral literal) {
        for (ObjectProperty property : literal.getElements()) {
            place(property);
            if ("=".equals(source.note(property.getPosition()))) errors.report(property, "Invalid shorthand property initializer");
            boolean shorthand = property.getLeft() == property.getRight();
            if (!shorthand) place(property.getLeft());
            refusals.property(property);
            property.getRight().visit(this);
        }
    }

    private void declaration(VariableDeclaration node) {
        Variable.Kind kind = node.isConst() || "const".equals(source.note(node.getPosition())) ? Variable.Kind.CONST
            : node.isLet() ? Variable.Kind.LET : Variable.Kind.VAR;
        AstNode parent = node.getParent();
        int type = parent.getType();
        boolean head = parent instanceof ForLoop && ((ForLoop) parent).getInitializer() == node
            || parent instanceof ForInLoop && ((ForInLoop) parent).getIterator() == node;
        boolean direct = head || type == Token.BLOCK || type == Token.SCRIPT;
        if (!direct && kind != Variable.Kind.VAR && type != Token.CASE) {
            errors.report(node, "Lexical declaration cannot appear in a single-statement context");
        }
        for (VariableInitializer part : node.getVariables()) {
            place(part);
            boolean loop = parent instanceof ForInLoop;
            AstNode value = part.getInitializer();
            if (loop && (value != null || node.getVariables().size() > 1)) errors.report(part, "Invalid declaration in the head of a for loop");
            if (value == null && !loop && (kind == Variable.Kind.CONST || part.isDestructuring())) {
                errors.report(part, "Missing initializer in " + (part.isDestructuring() ? "destructuring" : "const") + " declaration");
            }
            target(part.getTarget(), kind, loop ? null : part, direct, loop ? Types.ANYTHING : value);
            if (type == Token.CASE && kind != Variable.Kind.VAR && part.getTarget() instanceof Name) {
                scope.names.get(((Name) part.getTarget()).getIdentifier()).caseEnd = parent.getPosition() + parent.getLength();
            }
            if (value != null) value.visit(this);
        }
    }

    private void loop(Loop node) {
        open(node);
        boolean outside = scope.inLoop;
        if (node instanceof ForLoop) {
            ForLoop loop = (ForLoop) node;
            loop.getInitializer().visit(this);
            scope.inLoop = true;
            loop.getCondition().visit(this);
            loop.getIncrement().visit(this);
        } else {
            ForInLoop loop = (ForInLoop) node;
            loop.getIteratedObject().visit(this);
            if (loop.isForOf() && loop.getIteratedObject().getType() == Token.COMMA) errors.report(loop.getIteratedObject(), "Unexpected token ','");
            scope.inLoop = true;
            AstNode iterator = loop.getIterator();
            if (iterator instanceof VariableDeclaration) iterator.visit(this);
            else target(iterator, null, null, false, Types.ANYTHING);
        }
        node.getBody().visit(this);
        scope.inLoop = outside;
        close();
    }

    private void switchStatement(SwitchStatement node) {
        node.getExpression().visit(this);
        open(node);
        scope.isSwitch = true;
        for (SwitchCase one : node.getCases()) {
            place(one);
            if (one.getExpression() != null) one.getExpression().visit(this);
            List<AstNode> statements = one.getStatements();
            if (statements != null) for (AstNode statement : statements) statement.visit(this);
        }
        close();
    }

    private void tryStatement(TryStatement node) {
        boolean closing = node.getFinallyBlock() != null;
        part(node.getTryBlock());
        for (CatchClause clause : node.getCatchClauses()) {
            place(clause);
            AstNode pattern = clause.getCatchCondition();
            if (pattern != null && source.note(clause.getPosition() + pattern.getPosition()) == null) {
                errors.report(clause, "Conditional catch clauses are not supported");
                pattern = null;
            }
            if (closing) enter(clause);
            open(clause);
            place(clause.getVarName());
            declare(clause.getVarName(), Variable.Kind.CATCH);
            use(clause.getVarName(), false);
            if (pattern != null) target(pattern, Variable.Kind.LET, null, true, Types.ANYTHING);
            clause.getBody().visit(this);
            close();
            if (closing) leave();
        }
        if (closing) node.getFinallyBlock().visit(this);
    }

    private void part(AstNode block) {
        enter(block);
        block.visit(this);
        leave();
    }

    private void enter(AstNode node) {
        function = new FunctionInfo(function, null, true);
        functions.add(function);
        node.putProp(FUNCTION, function);
    }

    private void leave() {
        function = function.parent;
    }

    private void functionNode(FunctionNode node) {
        FunctionInfo outside = function;
        boolean declaration = !(node.getParent() instanceof ObjectProperty) && (node.getFunctionType() == FunctionNode.FUNCTION_STATEMENT
            || node.getFunctionType() == FunctionNode.FUNCTION_EXPRESSION_STATEMENT);
        FunctionInfo info = new FunctionInfo(function, node, false);
        info.start = node.getPosition();
        functions.add(info);
        node.putProp(FUNCTION, info);
        Name name = node.getFunctionName();
        if (name != null) place(name);
        if (declaration) hoist(node, info, name);
        function = info;
        info.scope = open(node);
        if (!declaration && name != null) {
            info.variable = scope.declare(name.getIdentifier(), Variable.Kind.SELF);
            declared.add(name.getIdentifier());
        }
        boolean simple = true;
        for (AstNode parameter : node.getParams()) {
            target(parameter, Variable.Kind.PARAMETER, null, false, Types.ANYTHING);
            info.hasRest |= Patterns.isRest(parameter);
            simple &= parameter.getType() == Token.NAME;
        }
        if (!simple && isStrict(node)) errors.report(node, "Illegal 'use strict' directive in function with non-simple parameter list");
        place(node.getBody());
        children(node.getBody());
        close();
        function = outside;
    }

    /** Whether a function says that it is strict. */
    private static boolean isStrict(FunctionNode node) {
        AstNode first = (AstNode) node.getBody().getFirstChild();
        if (!(first instanceof ExpressionStatement)) return false;
        AstNode text = ((ExpressionStatement) first).getExpression();
        return text instanceof StringLiteral && ((StringLiteral) text).getValue().equals("use strict");
    }

    private void hoist(FunctionNode node, FunctionInfo info, Name name) {
        int around = node.getParent().getType();
        if (around != Token.BLOCK && around != Token.SCRIPT && around != Token.CASE && node.getParent().getType() != Token.FUNCTION) {
            errors.report(node, "A function can only be declared at top level or inside a block");
        }
        Variable variable = declare(name, Variable.Kind.FUNCTION);
        info.variable = variable;
        variable.declaration = info;
        if (variable.kind != Variable.Kind.FUNCTION) variable.writes++;
        for (FunctionNode other : scope.functions) {
            if (function(other).variable == variable) variable.writes++;
        }
        info.hoistedIn = scope;
        scope.functions.add(node);
        use(name, false);
    }

    // -- resolution

    private void resolve() {
        if (sharesGlobals) for (Variable variable : scopes.get(0).variables) variable.share();
        for (Variable.Use use : uses) {
            String text = use.name.getIdentifier();
            Variable variable = use.scope.find(text);
            if (variable == null) {
                if (use.name.getParent().getType() != Token.TYPEOF || text.equals("eval")) refusals.global(use.name);
                continue;
            }
            use.variable = variable;
            variable.uses.add(use);
            if (use.write) variable.writes++;
            FunctionInfo home = variable.scope.function;
            boolean closure = use.scope.function.real() != home.real();
            variable.captured |= closure;
            variable.writtenInClosure |= use.write && use.scope.function != home;
            for (FunctionInfo f = use.scope.function; f != home; f = f.parent) f.outer.add(variable);
        }
    }
}
